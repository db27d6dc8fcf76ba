#!/usr/bin/env bash
# A task of a job array: converts the files of its part of a list. mirel-submit.sh hands it to sbatch.
# usage: mirel-task.sh FOLDER DIR [OPTION OF mirel save...]   the part is FOLDER/TASK.list, the log FOLDER/TASK.jsonl
#SBATCH --job-name=mirel-save
#SBATCH --no-requeue
set -euo pipefail

folder=$1 into=$2
shift 2
# The program is to notice before Slurm does that there is too little memory, and say for which file. Some of it is for itself.
memory=$((${SLURM_MEM_PER_NODE:-4000} * 9 / 10))
exec "${MIREL:-mirel}" save --quiet --into "$into" --files-from "$folder/$SLURM_ARRAY_TASK_ID.list" \
  --log "$folder/$SLURM_ARRAY_TASK_ID.jsonl" --jobs "${SLURM_CPUS_PER_TASK:-1}" --memory "${memory}M" "$@"
