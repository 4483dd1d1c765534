# bash completion for site(1)

_site() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]-}
  local of_unit='--wait --user --password-file --ca --json'
  local of_run="--yes --accept-problems --accept-moves --trial --stop-after --batch --verify $of_unit"
  local words=''
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    mapfile -t COMPREPLY < <(compgen -W 'discover list check diff apply undo runs upload --help --version' -- "$current")
    return
  fi
  case $previous in
    --format) words='csv spreadsheet json table' ;;
    --output | -o | --against | --password-file | --ca)
      mapfile -t COMPREPLY < <(compgen -f -- "$current")
      return
      ;;
    --trial | --stop-after | --batch | --wait | --user) return ;;
    list) ((COMP_CWORD != 2)) || words='encoders decoders streams' ;;
    upload) ((COMP_CWORD != 2)) || words='splash edid edid1 edid2 edid3 firmware csv' ;;
  esac
  if [[ $current == -* ]]; then
    case $command in
      discover) words="--format --output $of_unit" ;;
      list | diff) words=$of_unit ;;
      check) words="--against --last --all --unknown-too $of_unit" ;;
      apply) words="--all --unknown-too --retry-failed $of_run" ;;
      undo) words=$of_run ;;
      runs) words='--json' ;;
      upload) words="--yes --accept-problems $of_unit" ;;
    esac
  elif [[ -z $words && ($command == undo || $command == runs) ]]; then
    words=$(site runs 2>/dev/null | sed -nE 's/^([0-9]{8}-[0-9a-f-]+) .*/\1/p')
  fi
  if [[ -n $words ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
  fi
}

complete -o filenames -F _site site
