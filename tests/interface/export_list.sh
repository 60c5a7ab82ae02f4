#!/usr/bin/env bash
# The library defines the symbols that the package's symbols file lists, and no others: export_list.sh LIBRARY SYMBOLS
set -euo pipefail
diff <(sed -n '/^libqv/q; s/^ \(.*\)@Base .*/\1/p' "$2") <(nm -D --defined-only "$1" | cut -d' ' -f3 | LC_ALL=C sort)
