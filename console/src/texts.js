// Every text that a person reads.

const units = (count) => `${count} ${count === 1 ? 'unit' : 'units'}`;
const times = (count, one, many) => `${count} ${count === 1 ? one : many}`;

export const texts = {
  title: 'Unit console',
  skip: 'Skip to the page',
  pages: {
    units: 'Units',
    details: 'Unit',
    streams: 'Streams',
    firmware: 'Firmware',
    snapshots: 'Snapshots',
    configure: 'Configure',
    unit: 'This unit',
    listings: 'Listings',
  },
  thisUnit: 'this unit',
  noName: 'no name',
  noSite: 'No discovery yet: discover the units first.',
  close: 'Close',
  cancel: 'Cancel',

  idle: 'Idle',
  installing: 'Firmware is being installed',
  activity: ({ job, command, tries }) =>
    `${texts.jobs[job] ?? job}: ${command}${tries > 0 ? ` — the unit is busy with another request, try ${tries + 1}` : ''}`,
  jobs: {
    discover: 'Discovering',
    update: 'Updating',
    firmware: 'Firmware',
    splash: 'Splash image',
    edid: 'EDID',
    listing: 'Listing',
    ask: 'Asking the unit',
  },
  theme: 'Theme',
  themes: { system: 'System', light: 'Light', dark: 'Dark' },
  others: ({ done, total }) =>
    `Another console’s update is under way: ${done} of ${units(total)}. The unit takes no other request until it has ended.`,
  failures: {
    busy: 'The unit is still busy with somebody else’s request. Nothing was changed; try again in a while.',
    updating:
      'The unit’s firmware is being updated. It takes no request until that has ended; do not remove its power.',
    broken:
      'The unit’s answer is broken or did not come. What the request did is not known; see the unit’s own logs.',
    cancelled: 'Cancelled. The unit has been asked once more, so that its video link runs again.',
    cancelledFirmware:
      'Cancelled. A file that was not sent whole is not installed. The unit may have stopped its video for it: if there is no picture, restart the unit.',
    started:
      'The answer did not come, and a firmware update runs since then; do not remove the unit’s power.',
    withdrawn: 'Cancelled before anything was sent.',
    unreachable: 'The unit cannot be reached.',
    login: 'Your login has ended. Reload this page to log in again; a run that is under way goes on.',
  },

  units: {
    heading: 'Units of this site',
    discover: 'Discover units',
    again: 'Discover again',
    none: 'No discovery yet. Discovering asks every unit of the site for all its settings; the video link of this unit stops for these seconds.',
    phases: [
      [0, 'Asking all units by multicast…'],
      [700, 'Listening for their answers, three seconds…'],
      [3600, 'Writing the list…'],
      [
        5200,
        'Still running: in the two-pass mode each unit is asked in turn, 0.1 s a unit and 0.9 s for a silent one…',
      ],
    ],
    noNewList: 'The unit wrote no new list: it could not send its query to the network.',
    totals: ({ units: list, hidden, encoders, decoders }) =>
      `${units(list.length + hidden)}: ${times(encoders, 'encoder', 'encoders')}, ${times(decoders, 'decoder', 'decoders')}`,
    when: (date) => `discovered ${date}`,
    difference: (count) =>
      count === 0
        ? 'as many as last time'
        : `${units(Math.abs(count))} ${count < 0 ? 'fewer' : 'more'} than last time`,
    missing: (names) => `Missing: ${names.join(', ')}`,
    appeared: (names) => `New: ${names.join(', ')}`,
    hidden: (count, key) =>
      `${units(count)} answered but ${count === 1 ? 'has' : 'have'} no line: another unit has the same ${key}. ` +
      'Give it another one, or discover again without that unit.',
    conflicts: (count) => `${units(count)} share an id, an address or a serial`,
    unclear: (count) =>
      `${times(count, 'line has', 'lines have')} more or fewer fields than the header; values may be in the wrong column`,
    filter: 'Filter',
    filterHint: 'text in any cell',
    kinds: { all: 'All units', encoders: 'Encoders', decoders: 'Decoders', conflicts: 'Conflicts only' },
    kind: 'Show',
    columns: (shown, all) => `Columns (${shown} of ${all})`,
    allColumns: 'All',
    usualColumns: 'The usual ones',
    files: 'CSV files…',
    separator: 'Separator',
    separators: { ',': 'Comma', ';': 'Semicolon' },
    template: (count) => `Template for ${count === 1 ? 'this unit' : `these ${count} units`}`,
    templateHint: 'A line for each unit shown, and an empty cell for each setting among the columns shown.',
    exact: 'CSV as the unit wrote it',
    safe: 'CSV for spreadsheets',
    edit: (count) => (count === 1 ? 'Configure this unit' : `Configure these ${count} units`),
    editSelected: (count) =>
      count === 1 ? 'Configure the selected unit' : `Configure the ${count} selected units`,
    select: (name) => `Select ${name}`,
    selectAll: (count) => `Select these ${count}`,
    selected: (count, all) =>
      all === 0
        ? ''
        : `${count} selected${all > count ? `; ${all - count} more are not shown, and not configured` : ''}`,
    table: 'Discovered units',
    marks: 'Marks',
    mark: { id: 'same id', address: 'same address', serial: 'same serial', fields: 'unclear line' },
    shown: (count, all) => (count === all ? '' : `${count} of ${all} shown`),
    empty: 'No unit passes the filter.',
  },

  configure: {
    heading: 'Configure many units',
    noSite: 'Discover the units first: what changes is found by comparing with what they have.',
    outdated: 'An update has run since the last discovery: what is compared with may have changed.',
    drop: 'Drop a CSV here, or choose one',
    dropHint:
      'From a spreadsheet or from a discovery: a column UNIT.SERIAL, and a column for each setting to change. Blank cells change nothing.',
    editSite: 'Edit the discovered units',
    table: 'Settings to send',
    fromSite: 'The discovered units',
    other: 'Start over',
    discard: 'The draft has edits that would be lost. Replace it?',
    undoEdit: 'Undo edit',
    redoEdit: 'Redo',
    show: 'Rows',
    rowFilters: { all: 'All rows', sending: 'Rows that are sent', problems: 'Rows with problems' },
    onlyChanges: 'Send only what changes',
    onlyChangesHint:
      'Cells equal to what the unit has are left blank, and rows without a change are left out.',
    presets: {
      title: 'Presets…',
      kinds: { all: 'All units', encoders: 'Encoders', decoders: 'Decoders' },
      kind: 'For',
      value: 'Value',
      add: 'Keep as a preset',
      name: ({ kind, key, value }) => `${texts.configure.presets.kinds[kind]}: ${key} = ${value}`,
      forget: (preset) => `Forget ${texts.configure.presets.name(preset)}`,
    },
    fill: 'Fill a column…',
    fillColumn: 'Column',
    fillPattern: 'Text',
    fillHint: '{n} counts up, {nnn} with leading zeros. Goes into every row shown.',
    fillFrom: 'Count from',
    fillGo: (rows) => `Fill ${times(rows, 'row', 'rows')}`,
    keys: 'Arrow keys move, with Shift they select; Enter edits, Delete clears, Ctrl+Z undoes, Ctrl+Y redoes, F8 goes to the next problem. Cells are copied to and pasted from spreadsheets. A unit keeps a setting whose cell is empty: an empty value cannot be sent.',
    notPasted: (count, all) =>
      `${count} of ${times(all, 'cell was', 'cells were')} not pasted: no row or column for ${count === 1 ? 'it' : 'them'}, or none that can be edited.`,
    headers: {
      title: 'Columns that name no setting',
      dropped: 'is left out',
      suggest: (pairs) => `Take ${pairs.join(', ')}`,
    },
    legend: [
      ['change', 'changes'],
      ['held', 'held back by the unit'],
      ['fault', 'left out: fault'],
    ],
    cell: {
      change: ({ old, value, name, key }) =>
        `${old === null ? 'not known' : old === '' ? 'nothing' : `“${old}”`} becomes “${value}”${name !== key ? `, sent as ${name}` : ''}.`,
      same: ({ value }) => `“${value}”, no change.`,
      blank: ({ old }) => `Empty: the unit keeps ${old ? `“${old}”` : 'what it has'}.`,
      held: ({ value, reason }) => `“${value}” is held back. ${texts.configure.held[reason]}`,
      fault: ({ value, reason }) => `“${value}” is left out. ${texts.configure.problems[`cell-${reason}`]}`,
    },
    held: {
      status:
        'Units report this value and take no setting of it; addresses are set with the IP.STATIC_ keys.',
      excluded: 'Never sent by a mass update.',
      encoder: 'Only encoders take it.',
      decoder: 'Only decoders take it.',
      extended: 'Only wall-plate and second-generation units take it.',
      model: 'The row’s model is not known, so only ids, names and static addresses are sent.',
    },

    preflight: 'Before anything is sent',
    summary: ({ sending, settings, unchanged }) =>
      `${times(settings, 'setting', 'settings')} for ${units(sending.length)}` +
      `${unchanged > 0 ? `; ${times(unchanged, 'row changes', 'rows change')} nothing and ${unchanged === 1 ? 'is' : 'are'} left out` : ''}.`,
    noProblems: 'No problem found.',
    problemsTable: 'Problems',
    previousProblem: 'Previous problem',
    nextProblem: 'Next problem',
    problemColumns: ['', 'Row', 'Column', 'What'],
    moreRows: (count) => `… (${count} rows)`,
    levels: { stop: 'Stops', out: 'Left out', check: 'Check', held: 'Held back', fixed: 'Put right' },
    problems: {
      bom: 'A byte order mark at the start would spoil the first column’s name.',
      'utf-16': 'The file is UTF-16; it is sent as UTF-8.',
      encoding: 'The file is not UTF-8; it was read as Windows-1252. Check letters with accents.',
      binary: 'The file is not a text.',
      separator: 'Cells are not separated by commas; the unit knows nothing else.',
      'quote-open': 'A quote opens here and is never closed; all that follows was taken for one cell.',
      'quote-lines': 'A quoted text goes on over line ends; rows may be hidden in it.',
      titles: 'The header is below; what comes above it is left out.',
      guard: 'Apostrophes that kept a spreadsheet from taking cells for formulas are gone.',
      'column-blank': 'The column has no name; its cells are dropped.',
      'column-unknown': 'No setting of this unit has this name; the column is dropped.',
      'column-excluded':
        'A command or a unit’s own setting, never sent by a mass update; the column is dropped.',
      'column-spelling': 'The column is sent in the unit’s spelling:',
      'column-twice': 'The column is there twice; which one counts?',
      'no-serial-column': 'There is no such column: rows are addressed by serial.',
      'too-many-cells': 'The row has cells beyond the last column; they are dropped.',
      quoting: 'Quotes that the unit would not read: it takes them around a value with a comma only.',
      'row-blank': 'A blank row would count as a unit.',
      'row-self': 'This is the unit you are talking to; it does not update itself.',
      'serial-blank': 'No serial: the row would reach no unit.',
      'serial-unfit': 'A serial that cannot be sent.',
      'serial-all': 'Every unit would take the settings of this row.',
      'serial-spelling': 'The serial is sent in the unit’s spelling:',
      'unit-unknown': 'No unit with this serial was discovered.',
      shape: 'No unit of the site has a value of this kind; they have:',
      'unit-twice': 'Two units were discovered with this serial; both will take the settings.',
      'model-filled':
        'The model is taken from the discovery; without it the unit would hold most settings back.',
      'model-differs':
        'The discovered unit has another model, so that settings of the wrong kind may be sent:',
      'message-too-long': 'The settings do not fit into one message of 2,047 bytes:',
      'twice-id': 'Two rows have the same id; the unit would send neither:',
      'twice-serial': 'Two rows have the same serial; the unit would send neither:',
      'address-shared':
        'Several rows have the same address; it stays blank, else the unit would send none of them:',
      'address-taken': 'Two units would have the same static address:',
      'address-network': 'The address is the network’s own or its broadcast address; no unit can have it:',
      'gateway-self': 'The gateway would be the unit itself:',
      'gateway-outside': 'The gateway would be outside the unit’s network:',
      'address-moves':
        'The address is in another network than the unit is now; the unit becomes unreachable unless its network changes, too:',
      'address-handed-on':
        'Another unit of the draft has this address now. If that unit does not take its new address, both have the same:',
      'serial-zeros': 'The serial lost its leading zeros; it is sent to this unit:',
      converted: 'A spreadsheet may have rewritten this value.',
      'id-edges': 'Blanks at the start or end of an id are sent, and make it another one.',
      'id-taken': 'Another unit has this id; it is sent all the same:',
      'cell-too-long': 'More than 63 bytes; the unit would drop it.',
      'cell-unreadable': 'Letters that could not be read.',
      'cell-control': 'A line end or control character cannot be sent.',
      'cell-ampersand': 'An “&” would end the value and begin another setting.',
      'cell-quote': 'A quote at the start, or beside a comma, cannot be sent.',
      'cell-address': 'Not an IPv4 address (no leading zeros).',
      'cell-host': 'Not an address that a unit can have.',
      'cell-netmask': 'Not a netmask.',
      'cell-formula': 'A spreadsheet’s error text instead of a value.',
      'cell-blanks': 'Nothing but blanks.',
      'nothing-to-send': 'Nothing to send.',
      'not-readable': 'The unit would not read back what is meant. Please report this file.',
    },
    shapes: {
      address: 'addresses',
      number: 'numbers',
      negative: 'negative numbers',
      decimal: 'decimal numbers',
      'true-false': 'TRUE or FALSE',
      'on-off': 'ON or OFF',
      'yes-no': 'YES or NO',
    },
    unknownToo: 'Send to units that were not discovered, too',
    problem: ({ code, detail }) => {
      const { problems, held, shapes } = texts.configure;
      if (code === 'shape')
        return `${problems.shape} ${detail
          .split(',')
          .map((shape) => shapes[shape])
          .join(', ')}`;
      const text = code.startsWith('held-') ? held[code.slice(5)] : problems[code];
      return detail ? `${text} ${detail}` : text;
    },
    changes: (count) => `Cell by cell (${count})`,
    changesTable: 'Cells that change, are held back or left out',
    changeColumns: ['Row', 'Unit', 'Setting', 'Now', 'Then', 'What'],
    fates: { change: 'is sent', held: 'held back', fault: 'left out', row: 'row left out' },
    sentCsv: 'CSV that is sent',
    undoCsv: 'Undo CSV (old values)',
    lost: (count) => `${times(count, 'change has', 'changes have')} no old value to go back to.`,
    send: (count) => `Update ${units(count)}…`,
    confirm: (count) => `Update ${units(count)}?`,
    confirmText:
      'Each unit takes its settings, saves them and restarts. A unit that does not answer is waited for at most 15 seconds. It can be stopped only between batches of units.',
    confirmLeftOut: (count) =>
      `I have seen the ${times(count, 'problem', 'problems')}; what is left out stays as it is.`,
    confirmMoved: (count) => `${times(count, 'unit changes its address', 'units change their address')}.`,
    movedTable: 'Units that change their address',
    movedColumns: ['Unit', 'Now', 'Then'],
    confirmGo: 'Update now',
    pace: {
      title: 'How',
      trial: 'Try it first on',
      noTrial: 'no unit',
      size: 'Units at a time',
      sizeOptions: (count) => (count === 0 ? 'all' : String(count)),
      pause: 'Then wait',
      pauseOptions: (seconds) =>
        seconds === null
          ? 'until I go on'
          : seconds === 0
            ? 'not at all'
            : seconds < 60
              ? `${seconds} s`
              : `${seconds / 60} min`,
      most: 'Stop after',
      mostOptions: (count) => (count === 0 ? 'no failure' : times(count, 'failure', 'failures')),
    },
    notTheSameCsv:
      'The unit has another CSV than the one just uploaded; somebody else is at work. Nothing was sent.',

    resumed: 'The page was left while the update ran. What is shown comes from the unit’s site log.',
    running: 'The update runs',
    stages: {
      waiting: 'The update is prepared',
      sending: 'The update runs',
      paused: 'The update is paused',
      over: 'The update has ended',
    },
    paused: {
      trial: 'The first unit has had its turn. Look at it before the others follow.',
      between: 'A pause before the next units.',
      failures: 'Too many units have failed.',
      stopped: 'Stopped as you wanted.',
      failed: 'Not all was sent.',
      changed: 'Another update has run, and has changed what this one was compared with.',
      left: 'The page was left while the update ran. These units have not had their turn yet.',
    },
    waitsFor: ({ done, total }) =>
      `Another console’s update is under way: ${done} of ${units(total)}. This one waits for its end, and compares with the site again before it sends.`,
    waitsForUnit: 'The unit is busy with another request; this update waits.',
    changed: ({ key, then, now, value, code, detail }) =>
      code === 'gone'
        ? 'the unit did not answer; it may be restarting.'
        : code
          ? texts.configure.problem({ code, detail })
          : `${key} was “${then}” and is “${now}” now; this update makes it “${value}”.`,
    compareAgain: 'Compare again',
    moreChanges: (count) => `and ${count} more`,
    pausedFor: (seconds) => `It goes on in ${seconds} s.`,
    goOn: (count) => `Go on with ${units(count)}`,
    endRun: 'End it here',
    stop: 'Stop after these units',
    stopping: 'Stops after these units…',
    offline: 'no connection to the unit; the update goes on without it',
    lostSight: 'Nothing more is heard of the update',
    notKept:
      'This browser has no room to remember the update: a page that is left does not find it again. It goes on all the same.',
    preparing: 'Uploading, then the unit discovers once more before it sends…',
    progress: (done, all) => `${done} of ${all}`,
    remaining: (seconds) =>
      `about ${seconds < 90 ? `${Math.ceil(seconds)} s` : `${Math.ceil(seconds / 60)} min`} left`,
    tally: ({ ok, fail, skipped, unsent }) =>
      [`${ok} OK`, `${fail} failed`, skipped > 0 && `${skipped} skipped`, unsent > 0 && `${unsent} not sent`]
        .filter(Boolean)
        .join(', '),
    runFilters: { all: 'All units', notOk: 'Not OK' },
    runTable: 'Units of the update',
    runColumns: ['Row', 'Serial', 'Id', 'Address', 'Settings', 'State', 'Reason', 'Reported now'],
    earlier: (count) => `Earlier updates (${count})`,
    comparison: 'What the units report now',
    discoverAndCompare: 'Discover and compare',
    acknowledged:
      'OK means that a unit has acknowledged its settings. What it reports now is known after a discovery.',
    compared: (cells, differing) =>
      `${times(cells, 'setting', 'settings')} compared: ${differing === 0 ? 'all as they were sent' : `${times(differing, 'differs', 'differ')} from what was sent`}.`,
    comparisonColumns: ['Unit', 'Setting', 'Sent', 'Reported now'],
    onlyDiffering: 'Only what differs',
    notReported: 'not reported',
    reported: (cells) => {
      const missing = cells.filter(({ now }) => now === null).length;
      const differing = cells.filter(({ now, sent }) => now !== sent).length;
      if (missing === cells.length) return 'not found';
      return differing === 0 ? 'as sent' : `${differing} of ${cells.length} differ`;
    },
    states: {
      waiting: 'waiting',
      sent: 'sent',
      saved: 'saved',
      rebooting: 'rebooting',
      ok: 'OK',
      fail: 'FAIL',
      self: 'this unit',
      skipped: 'skipped',
      unsent: 'not sent',
    },
    reasons: {
      'not-sent': 'nothing was sent to it',
      'no-answer': 'did not answer within 5 s; it may have taken the settings',
      refused: 'refused the settings',
      'save-not-sent': 'took the settings, but the command to save could not be sent',
      'no-save': 'took the settings, did not confirm that it saved them',
      'save-refused': 'took the settings, refused to save them',
      'reboot-not-sent': 'saved, but the command to restart could not be sent',
      'no-reboot': 'saved, did not confirm the restart',
      'not-reached': 'the update ended before its turn, as far as is known',
      unclear: 'the site log does not say clearly what became of it',
      duplicate: 'shares an identity with another row',
    },
    report: 'Report',
    retry: 'Retry only the failed',
    undo: 'Go back to the old values',
    retryName: 'The failed units',
    undoName: 'The old values',
    back: 'Back to the draft',
  },

  unit: {
    heading: 'This unit',
    facts: ['Id', 'Serial', 'Model', 'Address', 'Firmware'],
    unknown: (host) => `Which unit answers at ${host} is not known.`,
    identify: 'Find out which it is',
    notIdentified: 'The unit’s own answer fits no encoder that was discovered, or several.',
    choose: 'Drop a file here, or choose one',
    checking: (share) => `Checking the file… ${Math.round(share * 100)} %`,
    size: (bytes) => `${bytes.toLocaleString('en')} bytes`,
    sha: 'SHA-256',
    upload: 'Upload',
    queued: (job) =>
      job === 'update' ? 'Waiting for the update to end…' : 'Waiting until the unit is free…',
    sending: (sent, all) => `${Math.floor((100 * sent) / all)} % sent`,
    stalled: (seconds) =>
      `Nothing has moved for ${seconds} s. The connection may be gone; the upload can be cancelled.`,
    noAnswer: (seconds) =>
      `All was sent ${seconds} s ago, and no answer has come. The connection may be gone; cancelling ends the wait, not what the unit does.`,
    working: 'All sent; the unit is working on it…',
    anyway: 'Upload it all the same',
    firmware: {
      title: 'Firmware',
      hint: 'The unit’s update archive (.tar.gz). The unit checks nothing: a wrong file can leave it dead.',
      faults: {
        empty: 'The file is empty.',
        gzip: 'Not a gzip file: no firmware.',
        damaged: 'The file cannot be unpacked completely: damaged, or cut short while it was downloaded.',
        tar: 'There is no tar archive in the file: no firmware.',
      },
      good: (members, size) =>
        `A whole gzip file with a tar archive of ${times(members, 'member', 'members')} in it, ${texts.unit.size(size)} unpacked.`,
      members: (count) => `Members of the archive (${count})`,
      missing: (kinds) =>
        `The archive that was installed last on a unit of this model had more in it; this one lacks: ${kinds.join(', ')}`,
      confirm: 'Install this firmware?',
      confirmText:
        'The unit stops its video, installs the firmware and restarts. It takes no request meanwhile. Power lost during the installation can destroy the unit.',
      confirmCheck: 'The power is safe, and the SHA-256 is the one the firmware came with.',
      go: 'Install firmware',
      started: 'The unit installs the firmware. Do not remove its power.',
      there: 'The unit still serves its pages; it has not restarted yet.',
      gone: 'The unit restarts…',
      again: 'The unit’s pages are back; it takes no request yet.',
      back: 'The unit is back.',
      stillUpdating: 'Still installing.',
      askNow: 'Ask the unit now',
    },
    splash: {
      title: 'Splash image',
      hint: 'A JPEG picture, shown while there is no video.',
      current: 'The present splash image',
      preview: 'The chosen picture',
      notJpeg: 'Not a JPEG file; the unit would install it and perhaps show nothing.',
      notImage: 'Not a picture that can be shown.',
      cut: 'The picture is truncated: its end mark is missing.',
      large:
        'More than a megabyte. The unit writes the picture to a flash partition without looking whether it fits.',
      none: 'The unit shows no present splash image.',
      confirm: 'Replace the splash image?',
      go: 'Replace it',
      good: (width, height) => `JPEG, ${width} × ${height} pixels.`,
      done: 'The unit has taken the splash image.',
    },
    edid: {
      title: 'EDID',
      hint: '256 bytes that tell sources what the display can do.',
      slot: 'Install as',
      slots: ['the active EDID', 'custom EDID 1', 'custom EDID 2', 'custom EDID 3'],
      faults: {
        size: (bytes) => `Only ${bytes} bytes; an EDID for this unit has 256.`,
        long: (bytes) => `${bytes} bytes; the active EDID takes the first 256 of them.`,
        longForSlot: (bytes) => `${bytes} bytes; a custom EDID must have exactly 256.`,
        header: () => 'The first eight bytes are not those of an EDID.',
        checksum: (blocks) => `Wrong checksum in block ${blocks}.`,
      },
      monitor: (name, maker) => `Monitor: ${name || 'no name'} (${maker})`,
      timing: ({ width, height, hertz, interlaced }) =>
        `Preferred timing: ${width} × ${height}${interlaced ? ' interlaced' : ''} at ${hertz} Hz`,
      noTiming: 'No preferred timing.',
      block: (number, right) => `Block ${number}: checksum ${right ? 'right' : 'wrong'}`,
      confirm: (slot) => `Replace ${slot}?`,
      go: 'Replace it',
      done: (slot) => `The unit has taken the EDID as ${slot}.`,
    },
  },

  listings: {
    heading: 'What the unit answers',
    hint: 'Each button asks the unit, and each request stops the video link for as long as it takes.',
    kinds: {
      encoders: ['Encoders', 'This unit and every encoder that answers now.'],
      decoders: ['Decoders', 'Every decoder that answers now.'],
      neighbours: ['Neighbours', 'The units that this unit has as neighbours.'],
      discovered: [
        'Last discovery',
        'The totals and the CSV of the last discovery, also of one that a mass update made.',
      ],
      imported: ['Imported CSV', 'The CSV uploaded last, as the unit reads it.'],
      trial: [
        'Read the imported CSV',
        'The unit discovers and reads the imported CSV; nothing is sent to other units.',
      ],
    },
    columns: {
      encoders: ['Id', 'Address', 'Stream address'],
      decoders: ['Id', 'Address', 'Stream host', 'Name'],
      neighbours: ['Address', 'Name'],
    },
    nothing: 'Nothing.',
    noImport: 'The unit has no imported CSV.',
    trialDone: 'The unit has read it.',
    asRead: (records, refused, unused) =>
      times(records, 'record', 'records') +
      (refused.length > 0 ? `; refused columns: ${refused.join(', ')}` : '') +
      (unused.length > 0 ? `; never sent, since too many columns come before: ${unused.join(', ')}` : ''),
    download: 'Download',
  },

  streams: {
    heading: 'Who streams to whom',
    totals: (encoders, decoders) =>
      `${times(encoders, 'encoder', 'encoders')}, ${times(decoders, 'decoder', 'decoders')}`,
    facts: {
      none: (count) => `${times(count, 'decoder has', 'decoders have')} no source`,
      unknown: (count) =>
        `${times(count, 'decoder has', 'decoders have')} a source that is no encoder of this site`,
      unclear: (count) =>
        `${times(count, 'decoder listens', 'decoders listen')} to a stream address of several encoders`,
      shared: (count) => `${count} encoders share a stream address`,
    },
    view: 'View',
    views: { matrix: 'Matrix', list: 'List by encoder' },
    filterEncoders: 'Encoders',
    filterDecoders: 'Decoders',
    kinds: { all: 'All decoders', lost: 'Without a known source', drafted: 'Changed in the draft' },
    legend: {
      source: 'source now',
      leaves: 'source until the draft is sent',
      drafted: 'source in the draft',
      unclear: 'one of several',
    },
    matrix: 'Encoders across, decoders down',
    corner: 'Decoder',
    crossing: (decoder, encoder, state) =>
      `${decoder} ← ${encoder}${state ? `: ${texts.streams.legend[state]}` : ''}`,
    list: 'Decoders by encoder',
    listColumns: ['Encoder', 'Stream address', 'Decoder', 'Listens to', 'Remark'],
    noEncoder: '–',
    remarks: {
      shared: 'several encoders on this stream address',
      alone: 'no decoder listens',
      none: 'no source',
      unknown: 'no encoder of this site has this address',
      unclear: 'several encoders have this stream address',
      drafted: (host) => `becomes ${host || 'nothing'} in the draft`,
    },
    drafted: (decoder, encoder, host) =>
      `In the draft: ${decoder} will take ${encoder} (STREAM.HOST ${host}). When the draft is sent, ${decoder} takes it, saves and restarts; its picture is gone for that time.`,
    sharedHost: 'Another encoder has the same stream address: which of them is seen is not certain.',
    takenBack: (decoder) => `${decoder} keeps its source.`,
    isSource: (decoder, encoder) => `${encoder} is the source of ${decoder} already.`,
    noSerial: (decoder) => `${decoder} has no serial: a mass update cannot reach it.`,
    noHost: (decoder, encoder) => `${encoder} has neither a stream address nor an address.`,
    inDraft: (count) =>
      `${times(count, 'change of a source is', 'changes of sources are')} in the draft. Nothing is sent until it is on the page Configure; then ${count === 1 ? 'this decoder restarts' : 'these decoders restart'}.`,
    toDraft: 'Go to the draft',
    keys: 'A click, or arrow keys and Enter, puts a change into the draft; the same again takes it out.',
  },

  details: {
    console: 'Its own pages ↗',
    streams: 'Stream',
    source: 'Takes its picture from',
    noSource: {
      none: 'nobody: it has no source',
      unknown: 'an address that no encoder of this site has:',
      unclear: 'a stream address that several encoders have:',
    },
    viewers: (count) =>
      count === 0
        ? 'No decoder listens to it.'
        : `${times(count, 'decoder listens', 'decoders listen')} to it.`,
    neither: 'Neither an encoder nor a decoder that is known.',
    changes: 'Since the discovery before',
    changeColumns: ['Setting', 'Before', 'Now'],
    noEarlier: 'This browser has seen no discovery before this one.',
    appeared: 'The unit was not found then.',
    unchanged: 'Nothing has changed.',
    nothing: '–',
    unknown: (key) => `No unit “${key}” was discovered.`,
    groups: {
      AUDIO: 'Audio',
      DANTE: 'Audio network',
      IP: 'Network',
      SERIAL: 'Serial port',
      SERVICE: 'Services',
      STREAM: 'Stream settings',
      UNIT: 'Unit',
      USB: 'USB',
      VIDEO: 'Video',
      VW: 'Video wall',
    },
  },

  firmware: {
    heading: 'Firmware of this site',
    totals: (models, mixed) =>
      `${times(models, 'model', 'models')}${mixed > 0 ? `, ${mixed} of them with more than one version` : ''}`,
    units,
    older: 'not the newest here',
    noVersion: 'no version reported',
    noModel: 'No model reported',
    console: 'its own pages ↗',
  },

  snapshots: {
    heading: 'Snapshots of this site',
    hint: 'A snapshot is the last discovery, kept in this browser. Save one as a CSV to have it elsewhere.',
    name: 'Name',
    unnamed: 'Unnamed',
    keep: 'Keep the site as it is now',
    notKept: 'This browser has no room for it.',
    none: 'No snapshot yet.',
    list: 'Snapshots',
    columns: ['Name', 'Kept', 'What to do'],
    rename: 'Name of the snapshot',
    save: 'Save as CSV',
    drop: 'Delete',
    confirmDrop: (name) => `Delete the snapshot “${name}”?`,
    compare: 'Compare',
    from: 'From',
    to: 'To',
    now: 'The site now',
    differences: (count) =>
      count === 0 ? 'No value differs.' : `${times(count, 'value differs', 'values differ')}.`,
    changes: 'Values that differ',
    changeColumns: ['Unit', 'Setting', 'Then', 'Now'],
    back: (count) => `Draft the way back (${times(count, 'setting', 'settings')})`,
    backHint: 'What units only report is left out.',
    lost: (count) =>
      `${times(count, 'value was', 'values were')} empty; a unit keeps a setting for which nothing is sent.`,
  },
};
