#!/usr/bin/env bash
# Plants faults in the sources, one at a time, and reports which test notices each. It fails if no test notices a fault.
# plant_faults.sh --help tells the options. Only build/ changes in this checkout.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

[ -x /usr/bin/python3 ] || scripts/bootstrap.sh faults
exec /usr/bin/python3 tools/plant_faults/plant_faults.py "$@"
