#!/bin/bash
# Names the symbols that the tool's objects leave open and neither the C and C++ runtime, cJSON, the
# compressor of pictures nor the platform's interfaces have. Usage: symbols.sh ARCHIVE PROGRAM
set -euo pipefail
archive=$1 program=$2
defined=$(nm --defined-only "$archive" | awk 'NF == 3 { print $3 }')
runtime=$(ldd "$program" | awk '/lib(c|m|stdc\+\+|c\+\+|c\+\+abi|gcc_s|unwind)\.so/ { print $3 } /ld-linux/ { print $1 }' |
    xargs nm -D --defined-only | awk 'NF == 3 { sub(/@.*/, "", $3); print $3 }')
operations=$(grep -v '^#' "$(dirname "$0")/data/platform-operations.txt")
open=$(nm -u "$archive" | awk '$1 == "U" { print $2 }' | grep -vE '^(cJSON_|isal_|crc32_gzip_refl$|_GLOBAL_OFFSET_TABLE_$|__dso_handle$)' |
    sort -u | grep -vxF -e "$defined" -e "$runtime" -e "$operations" || true)
[[ -z $open ]] || { echo "not named by the platform's interfaces: $open"; exit 1; }
[[ $(nm -u "$archive" | grep -c sync_wait) -gt 0 ]]
