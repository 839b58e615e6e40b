#!/usr/bin/env bash
# What Snakemake asks about a job of Slurm: success, failed or running. The accounting lags behind, or
# there is none; then the controller is asked, which knows jobs for some minutes after their end.
set -uo pipefail
job=${1:?usage: status.sh JOB}

state() {
  local found
  found=$(sacct -X -n -P -j "$job" -o State 2>/dev/null | head -1)
  [ -n "$found" ] || found=$(scontrol -o show job "$job" 2>/dev/null |
    sed -n 's/.* JobState=\([A-Z_]*\).*/\1/p')
  echo "${found%% *}"
}

for _ in 1 2 3 4 5; do
  found=$(state)
  [ -z "$found" ] || break
  sleep 2
done
case "$found" in
  COMPLETED) echo success ;;
  PENDING | RUNNING | COMPLETING | CONFIGURING | SUSPENDED | REQUEUED | RESIZING) echo running ;;
  *) echo failed ;;
esac
