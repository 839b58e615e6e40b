#!/usr/bin/env bash
# A cluster of this one machine (Slurm with its controller, its node and munge, all on the loopback
# address), on which workflow/Snakefile corrects a generated dataset of 12 subjects. One job is
# killed in the middle and the workflow run again; all results have to be those that mirel bids gives
# without a cluster, byte for byte. What was started is ended by its process number.
# Usage: scripts/cluster.sh BUILD_FOLDER
set -euo pipefail
cd "$(dirname "$0")/.."
mirel=$PWD/$1/bin/mirel
repository=$PWD
work=$(mktemp -d)
chmod 755 "$work"
pids=()

finish() {
  local pid
  for pid in "${pids[@]}"; do kill "$pid" 2> /dev/null || true; done
  wait 2> /dev/null || true
  rm -rf "$work"
}
trap finish EXIT

for tool in munged slurmctld slurmd sbatch snakemake; do
  command -v "$tool" > /dev/null || { echo "There is no $tool: scripts/dev.sh cluster installs it." >&2; exit 1; }
done
[ "$(id -u)" -eq 0 ] || { echo "slurmd starts jobs as their users, which needs root." >&2; exit 1; }

startMunge() {
  mkdir -m 755 "$work/munge"
  head -c 1024 /dev/urandom > "$work/munge/key"
  chmod 400 "$work/munge/key"
  munged --foreground --force --key-file="$work/munge/key" --socket="$work/munge/socket" \
    --pid-file="$work/munge/pid" --log-file="$work/munge/log" --seed-file="$work/munge/seed" \
    > "$work/munged.out" 2>&1 &
  pids+=($!)
}

configureSlurm() {
  local host
  host=$(hostname -s)
  mkdir -p "$work/state" "$work/spool"
  cat > "$work/slurm.conf" << CONF
ClusterName=one
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=16817
SlurmdPort=16818
SlurmUser=root
SlurmdUser=root
AuthType=auth/munge
AuthInfo=socket=$work/munge/socket
CredType=cred/munge
StateSaveLocation=$work/state
SlurmdSpoolDir=$work/spool
SlurmctldPidFile=$work/slurmctld.pid
SlurmdPidFile=$work/slurmd.pid
SlurmctldLogFile=$work/slurmctld.log
SlurmdLogFile=$work/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core_Memory
SchedulerParameters=batch_sched_delay=1,sched_interval=2
ReturnToService=2
MpiDefault=none
NodeName=$host NodeAddr=127.0.0.1 CPUs=$(nproc) RealMemory=$(($(sed -n 's/^MemTotal: *\([0-9]*\).*/\1/p' /proc/meminfo) / 1100)) State=UNKNOWN
PartitionName=all Nodes=$host Default=YES MaxTime=60 State=UP
CONF
  printf 'CgroupPlugin=cgroup/v1\n' > "$work/cgroup.conf"
  export SLURM_CONF=$work/slurm.conf
}

startSlurm() {
  slurmctld -D > "$work/slurmctld.out" 2>&1 &
  pids+=($!)
  slurmd -D > "$work/slurmd.out" 2>&1 &
  pids+=($!)
  local n
  for n in $(seq 60); do
    ! sinfo -h -o %t 2> /dev/null | grep -q idle || return 0
    sleep 1
  done
  echo "The cluster did not come up:" >&2
  tail -n 5 "$work"/*.out "$work"/*.log >&2
  exit 1
}

workflow() { # MORE...
  (cd "$work/cluster" && PATH=$(dirname "$mirel"):$PATH nice -n 10 snakemake \
    --snakefile "$repository/workflow/Snakefile" --profile "$repository/workflow/profiles/slurm" \
    --config dataset=../raw out=out mem_mb=500 runtime=10 --latency-wait 10 "$@")
}

killOne() { # waits for a job that runs
  local job n
  for n in $(seq 120); do
    job=$(squeue -h -t R -o %i | head -1)
    [ -z "$job" ] || break
    sleep 0.5
  done
  [ -n "$job" ] || { echo "No job ran that could be killed." >&2; return 1; }
  scancel --signal=KILL --full "$job" && echo "killed job $job"
}

results() { # FOLDER
  (cd "$work/$1/out" && find . -type f ! -path './logs/*' ! -name '*.html' -print0 | sort -z |
    xargs -0 sha256sum)
}

startMunge
configureSlurm
startSlurm
mkdir "$work/alone" "$work/cluster"  # records have the names as they were given
"$mirel" phantom --bids "$work/raw" --subjects 12 --size 32 36 24 --voxel 6 > /dev/null
echo "== without a cluster"
cd "$work/alone"
nice -n 10 "$mirel" bids ../raw out participant --quiet > /dev/null
"$mirel" bids ../raw out group > /dev/null
echo "== on the cluster, one job killed"
killOne &
killer=$!
status=0
workflow --restart-times 0 > "$work/first.log" 2>&1 || status=$?
wait "$killer"
[ "$status" -ne 0 ] || { echo "The workflow did not notice that a job was killed." >&2; exit 1; }
echo "== again"
workflow > "$work/second.log" 2>&1 || { tail -n 30 "$work/second.log" >&2; exit 1; }
diff <(results alone) <(results cluster)
echo "$(results cluster | wc -l) files are those without a cluster, byte for byte"
