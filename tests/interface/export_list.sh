#!/usr/bin/env bash
# The library defines the symbols of the list and no others: export_list.sh LIBRARY LIST
set -euo pipefail
diff "$2" <(nm -D --defined-only "$1" | cut -d' ' -f3 | LC_ALL=C sort)
