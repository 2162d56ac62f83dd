#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# Runs Examples/ManyScenes/slurm.sh on a real Slurm, and one bake on two nodes: one controller and two nodes on the loopback of
# this machine. A person runs it as root, because it installs Debian's packages of Slurm and starts its daemons; it stops them
# at the end.
#
#     Tests/Slurm/run.sh build/release/bin/ktbake
set -eu -o pipefail
ktbake=$(readlink -f "$1")
root=$(readlink -f "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/../..")
[ "$(id -u)" = 0 ] || { echo "Needs root: it installs Slurm and starts its daemons." >&2; exit 1; }

apt-get install -y --no-install-recommends slurmctld slurmd slurm-client munge openmpi-bin >/dev/null
work=$(mktemp -d /tmp/ktbake-slurm-XXXXXX)
munge=0
finish() {
    for daemon in slurmctld slurmd-one slurmd-two; do
        [ ! -f "$work/$daemon.pid" ] || kill "$(cat "$work/$daemon.pid")" 2>/dev/null || true
    done
    [ "$munge" = 0 ] || kill "$munge" 2>/dev/null || true
    sleep 1
    rm -rf "$work"
}
trap finish EXIT

# All daemons run as root, with a key and sockets in the folder of this run.
mkdir -p "$work/state" "$work/one" "$work/two" "$work/tmp-one" "$work/tmp-two" "$work/scenes"
head -c 64 /dev/urandom >"$work/munge.key"
chmod 600 "$work/munge.key"
chmod 755 "$work"
munged --force --foreground --key-file="$work/munge.key" --socket="$work/munge.socket" --pid-file="$work/munge.pid" \
    --log-file="$work/munge.log" --seed-file="$work/munge.seed" >"$work/munge.out" 2>&1 &
munge=$!
cat >"$work/slurm.conf" <<END
ClusterName=test
SlurmctldHost=$(hostname -s)(127.0.0.1)
SlurmUser=root
SlurmctldPort=16817
AuthType=auth/munge
AuthInfo=socket=$work/munge.socket
CredType=cred/munge
StateSaveLocation=$work/state
SlurmdSpoolDir=$work/%n
TmpFS=$work/tmp-%n
SlurmctldPidFile=$work/slurmctld.pid
SlurmdPidFile=$work/slurmd-%n.pid
SlurmctldLogFile=$work/slurmctld.log
SlurmdLogFile=$work/%n.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
SelectType=select/linear
ReturnToService=2
MpiDefault=none
NodeName=one NodeHostname=$(hostname -s) NodeAddr=127.0.0.1 Port=16818 CPUs=1
NodeName=two NodeHostname=$(hostname -s) NodeAddr=127.0.0.1 Port=16819 CPUs=1
PartitionName=all Nodes=one,two Default=YES MaxTime=INFINITE State=UP
END
export SLURM_CONF=$work/slurm.conf
slurmctld -c
slurmd -N one
slurmd -N two
for _ in $(seq 30); do
    [ "$(sinfo -h -o %T 2>/dev/null)" = idle ] && break
    sleep 1
done
sinfo

model=/usr/share/assimp/models/glTF2/BoxTextured-glTF-Binary/BoxTextured.glb
for i in $(seq 12); do
    cp "$model" "$work/scenes/scene $i.glb"
    echo "$work/scenes/scene $i.glb"
done >"$work/list.txt"
cd "$work"
export KTBAKE=$ktbake KT_PREFERENCES_DIR=$work/preferences/
submit() {
    sbatch --wait --array=1-4 --cpus-per-task=1 "$root/Examples/ManyScenes/slurm.sh" "$work/list.txt" "$work/baked" \
        --shadow-quality 0 --no-indirect
}
submit || { cat "$work"/ktbake-*.log "$work"/*.log; echo "FAILED: the job array failed" >&2; exit 1; }
baked=$(find "$work/baked" -name '*-baked.glb' | wc -l)
nodes=$(scontrol show job | sed -n 's/^ *NodeList=\([a-z]\{1,\}\).*/\1/p' | sort -u | paste -sd ' ')
[ "$baked" = 12 ] || { echo "FAILED: $baked of 12 scenes are baked" >&2; exit 1; }
rm -f "$work"/ktbake-*.log
submit >/dev/null
[ "$(cat "$work"/ktbake-*.log | grep -c ': up to date')" = 12 ] ||
    { echo "FAILED: the second run did not find all scenes up to date" >&2; exit 1; }
echo "no scene" >"$work/scenes/scene 3.glb"
if submit >/dev/null; then
    echo "FAILED: a broken scene did not fail its task" >&2
    exit 1
fi

# One bake on two nodes, started by srun, and by mpirun in a job. Both nodes are this machine, so they talk through its
# loopback.
export OMPI_MCA_btl=self,vader,tcp OMPI_MCA_btl_tcp_if_include=lo OMPI_MCA_oob_tcp_if_include=lo PMIX_MCA_ptl_tcp_if_include=lo
export OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1
engine=/usr/share/assimp/models/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb
bake=("$ktbake" "$engine" --shadow-quality 0 --gather-quality 0 --threads 1 --quiet)
"${bake[@]}" -o "$work/plain.glb"
timeout 120 srun --mpi=pmix -N 2 -n 2 "${bake[@]}" -o "$work/srun.glb" --stats "$work/srun.json" ||
    { cat "$work"/*.log; echo "FAILED: a bake by srun failed" >&2; exit 1; }
timeout 120 salloc -Q -N 2 -n 2 mpirun -n 2 "${bake[@]}" -o "$work/mpirun.glb" --stats "$work/mpirun.json" ||
    { cat "$work"/*.log; echo "FAILED: a bake by mpirun in a job failed" >&2; exit 1; }
for launcher in srun mpirun; do
    cmp "$work/plain.glb" "$work/$launcher.glb" && grep -q '"rank": 1' "$work/$launcher.json" ||
        { echo "FAILED: $launcher: the ranks did not share the bake, or the file has other bytes" >&2; exit 1; }
done
echo "passed: one bake on two nodes, by srun --mpi=pmix and by mpirun, has the bytes of one process"
echo "passed: 12 scenes in 4 tasks on the nodes $nodes; up to date in the second run; a broken scene fails its task"
