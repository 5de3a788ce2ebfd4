#!/usr/bin/env bash
# Plants faults in the program, one at a time, and reports which test notices each. It fails if no test notices a fault:
# plant_faults.sh [--room ROOM] [--useless] [--sample [HASH]] [NAME...]
# The tables are tools/plant_faults/faults/ROOM.faults. Only build/ changes in this checkout.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/bootstrap.sh host faults
cmake --preset host >/dev/null
cmake --build --preset host -- --quiet
exec python3 tools/plant_faults/plant_faults.py "$@"
