#!/usr/bin/env bash
# kvl_to_txt is linked from the reader and the writers alone. It must load
# no library of the host, of Assimp or of the window toolkit (were the
# output, scene or settings libraries to link one, it would come along),
# and it must still do its work: the dump of the format's every-kind file
# read back is the dump kept beside it.
set -euo pipefail
program=$1 format_dir=$2
needed=$(readelf -d "$program" | grep NEEDED || true)
for library in libkvl_host libassimp libfltk; do
  if grep -q "$library" <<<"$needed"; then
    echo "reader_writer_alone: kvl_to_txt loads $library: a library of the reader or writers links it" >&2
    exit 1
  fi
done
"$program" "$format_dir/every-kind.kvl" | cmp - "$format_dir/every-kind.txt"
