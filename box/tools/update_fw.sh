#!/bin/sh
# Updates the unit's firmware from /dev/shm/fw.tar.gz: unpacks it into a scratch folder, takes its time, and ends
# /var/log/update_fw.log with the line `done` or the reason of failure. Every call is noted in /var/log/tools.log.
#
#   UPDATE_FW_SECONDS=5 update_fw.sh
printf '%s\n' "update_fw.sh${*:+ $*}" >> /var/log/tools.log

log() { printf '%s\n' "$*" >> /var/log/update_fw.log; }

scratch=$(mktemp -d /var/tmp/fw.XXXXXX) || exit 1
trap 'rm -rf "$scratch"' EXIT
trap 'exit 1' HUP INT TERM

log 'unpacking /dev/shm/fw.tar.gz'
if ! reason=$(tar -xzf /dev/shm/fw.tar.gz -C "$scratch" 2>&1); then
  log "failed: $reason"
  exit 1
fi
log 'writing the image'
sleep "${UPDATE_FW_SECONDS:-5}"
log 'done'
# A unit that boots restarts; the box has no such tool.
if type restart_unit > /dev/null 2>&1; then restart_unit; fi
