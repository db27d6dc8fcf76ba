#!/usr/bin/env bash
# Starts a Slurm of one node, in a folder of its own and on the loopback address, and has it convert thirty files in ten tasks. One
# task is killed, one crashes, and two files need more memory than they get at first: all come through in the end.
# usage: run.sh PROGRAM SAMPLE   prints "skipped: REASON" where that cannot be
set -euo pipefail
program=$(realpath "$1") sample=$(realpath "$2")
scripts=$(cd "$(dirname "$0")/../../scripts/slurm" && pwd)
export PATH=$PATH:/usr/sbin
for tool in munged slurmctld slurmd sbatch squeue; do
  command -v $tool >/dev/null || { echo "skipped: $tool is not installed (scripts/setup.sh slurm)" && exit 0; }
done

work=$(mktemp -d)
end() {
  for file in slurmctld slurmd munged; do
    [[ ! -f $work/$file.pid ]] || kill "$(<"$work/$file.pid")" 2>/dev/null || true
  done
  for _ in {1..100}; do
    pgrep -f "$work/" >/dev/null || break
    sleep 0.1
  done
  rm -rf "$work"
}
trap end EXIT
cd "$work"
chmod 755 . && mkdir state spool munge && chmod 700 munge

head -c 1024 /dev/urandom >munge/key && chmod 400 munge/key
munged --key-file "$work/munge/key" --socket "$work/munge.socket" --pid-file "$work/munged.pid" \
  --log-file "$work/munge/log" --seed-file "$work/munge/seed" || { echo "skipped: munged does not start here" && exit 0; }

host=$(hostname)  # -s would look it up, which fails where the name has no address
host=${host%%.*}
port=$((20000 + $$ % 20000))
cat >slurm.conf <<CONF
ClusterName=test
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=$port
SlurmdPort=$((port + 1))
SlurmUser=$(id -un)
SlurmdUser=$(id -un)
AuthType=auth/munge
AuthInfo=socket=$work/munge.socket
StateSaveLocation=$work/state
SlurmdSpoolDir=$work/spool
SlurmctldPidFile=$work/slurmctld.pid
SlurmdPidFile=$work/slurmd.pid
SlurmctldLogFile=$work/slurmctld.log
SlurmdLogFile=$work/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SwitchType=switch/none
MpiDefault=none
JobAcctGatherType=jobacct_gather/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU_Memory
SchedulerParameters=sched_min_interval=100000,batch_sched_delay=1
SlurmdParameters=config_overrides
ReturnToService=2
NodeName=$host NodeAddr=127.0.0.1 CPUs=4 RealMemory=2000 State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES MaxTime=INFINITE State=UP
CONF
export SLURM_CONF=$work/slurm.conf
slurmctld -f "$work/slurm.conf" && slurmd -f "$work/slurm.conf" || { echo "skipped: Slurm does not start here" && exit 0; }
for _ in {1..100}; do
  [[ $(sinfo -h -o %t 2>/dev/null) != idle ]] || break
  sleep 0.1
done
if [[ $(sinfo -h -o %t 2>/dev/null) != idle ]]; then
  echo "skipped: the node of Slurm does not come up here: $(tail -n 2 slurmctld.log slurmd.log | tr '\n' ' ')"
  exit 0
fi

# A program that is killed in one task, and crashes in another, the first time.
cat >mirel <<'WRAPPER'
#!/usr/bin/env bash
if [[ $SLURM_ARRAY_TASK_ID == 3 && $* == */round-1/* ]]; then kill -KILL $$; fi
if [[ $SLURM_ARRAY_TASK_ID == 7 && $* == */round-1/* ]]; then kill -SEGV $$; fi
exec "$REAL_MIREL" "$@"
WRAPPER
chmod +x mirel
export REAL_MIREL=$program MIREL=$work/mirel MIREL_POLL=0.2

mkdir parts
for i in {1..30}; do
  cat >"parts/ö \"$i\".brep" <<BODY
DBRep_DrawableShape

CASCADE Topology V3, (c) Open Cascade
Locations 0
Curve2ds 0
Curves 0
Polygon3D 0
PolygonOnTriangulations 0
Surfaces 0
Triangulations 0

TShapes 1
Ve
1e-07
$i 2 3
0 0

0101101
*

+1 0
BODY
done
rm parts/*'"5"'* parts/*'"16"'*
cp "$sample" parts/five.step && cp "$sample" parts/sixteen.step
printf '%s\n' parts/* >list

fail() {
  echo "FAILED: $*"
  cat run/round-*/*.out run/log.jsonl slurmctld.log 2>/dev/null | tail -n 60
  exit 1
}
"$scripts/mirel-submit.sh" --into out --tasks 10 --mem 32 --max-mem 200 --run run list >submitted || fail "exit code $?"
cat submitted
[[ $(find out -name index.gz | wc -l) == 30 ]] || fail "not all folders are there"
[[ -z $(find out -name '.mirel-*') ]] || fail "something half is left"
[[ $(grep -c '"outcome":"\(saved\|present\)"' run/log.jsonl) == 30 && $(wc -l <run/log.jsonl) == 30 ]] || fail "the log"
[[ $(grep -c '"outcome":"memory"' <(cat run/round-1/*.jsonl)) == 2 ]] || fail "nothing ran out of memory"
[[ $(wc -l <run/round-1/1.list) == 3 && ! -e run/round-1/3.jsonl && ! -e run/round-1/7.jsonl ]] || fail "no task was lost"
grep -q ': 8 files in 8 tasks with 64 MB' submitted || fail "the second round is not what is left"
"$program" save --quiet --into out --files-from list --check || fail "a folder is not sound"
