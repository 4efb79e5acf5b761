#!/bin/bash
# imx as a whole process beside the tools that Debian has for each format: CPU time (user and system)
# of reading and of writing a 2048 x 2048 picture, best of several runs, and imx's time over that of
# the fastest peer (below 1.00: imx is faster).
#
# Usage: bench/whole_process.sh [IMX [RUNS [FORMAT...]]]     (by default: out/linux/imx 3, all formats)
# Peers that are not installed are left out: netpbm, graphicsmagick, ffmpeg, imagemagick.
set -euo pipefail
export LC_ALL=C SOURCE_DATE_EPOCH=0 OMP_NUM_THREADS=1 MAGICK_THREAD_LIMIT=1

imx=$(realpath "${1:-out/linux/imx}")
runs=${2:-3}
formats=("${@:3}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# CPU seconds of the best run; a peer that is missing or fails prints nothing.
cpu_time() {
  local best='' now run
  command -v "${1%% *}" >/dev/null || return 0
  for ((run = 0; run < runs; ++run)); do
    now=$({ TIMEFORMAT='%U %S'; time eval "$1" >/dev/null 2>errors </dev/null; } 2>&1) || return 0
    now=$(awk '{printf "%.3f", $1 + $2}' <<<"$now")
    [[ -z $best ]] || awk "BEGIN {exit !($now < $best)}" && best=$now
  done
  echo "$best"
}

wanted() {
  ((${#formats[@]} == 0)) && return 0
  local format
  for format in "${formats[@]}"; do [[ $1 == "$format" ]] && return 0; done
  return 1
}

# row FORMAT WHAT IMX-COMMAND PEER...: one line of the table.
row() {
  local format=$1 what=$2 ours peer time best='' fastest=''
  wanted "$format" || return 0
  ours=$(cpu_time "$3")
  for peer in "${@:4}"; do
    time=$(cpu_time "$peer")
    [[ -n $time ]] || continue
    [[ -z $best ]] || awk "BEGIN {exit !($time < $best)}" || continue
    best=$time fastest=${peer%% *}
  done
  awk -v f="$format" -v w="$what" -v o="${ours:-failed}" -v b="${best:--}" -v p="${fastest:--}" \
    'BEGIN {printf "%-10s %-16s %8s %8s  %-12s %s\n", f, w, o, b, p,
            (o + 0 && b + 0) ? sprintf("%5.2f", o / b) : "    -"}'
}

ffmpeg_read() { echo "ffmpeg -v error -threads 1 -i $1 -f rawvideo -pix_fmt rgba -y /dev/null"; }
ffmpeg_write() { echo "ffmpeg -v error -threads 1 -i $1 -y $2"; }

# A picture with shading and grain, and the same in 256 colours.
if command -v gm >/dev/null; then
  gm convert -size 2048x2048 plasma:fractal +noise Gaussian -depth 8 photo.ppm
else
  convert -size 2048x2048 -seed 1 plasma:fractal +noise Gaussian -depth 8 photo.ppm
fi
"$imx" convert -q photo.ppm few.gif
"$imx" convert -q few.gif few.ppm

printf '%-10s %-16s %8s %8s  %-12s %s\n' format what imx peer 'peer is' ratio

# read_row FORMAT WHAT FILE CONVERT-OPTIONS SOURCE PEER...: makes FILE, then times decoding it.
read_row() {
  local format=$1 what=$2 file=$3
  wanted "$format" || return 0
  eval "\"$imx\" convert -q $4 $5 $file"
  row "$format" "read $what" "$imx pixels $file" "${@:6}" "$(ffmpeg_read "$file")" \
    "gm convert $file rgba:/dev/null" "convert $file rgba:/dev/null"
}

# write_row FORMAT WHAT OUTPUT CONVERT-OPTIONS SOURCE PEER...
write_row() {
  row "$1" "write $2" "$imx convert -q $4 $5 $3" "${@:6}" "gm convert $5 $3"
}

read_row targa raw raw.tga --no-compress photo.ppm 'tgatoppm raw.tga'
read_row targa run-length rle.tga '' few.ppm 'tgatoppm rle.tga'
read_row bmp 24 24.bmp '' photo.ppm 'bmptopnm 24.bmp'
read_row bmp 8 8.bmp '--depth 8' few.ppm 'bmptopnm 8.bmp'
read_row gif 8 8.gif '' few.ppm 'giftopnm 8.gif'
read_row pcx 24 24.pcx '' photo.ppm 'pcxtoppm 24.pcx'
read_row pcx 8 8.pcx '--depth 8' few.ppm 'pcxtoppm 8.pcx'
read_row png 24 24.png '' photo.ppm 'pngtopnm 24.png'
read_row png 8 8.png '--depth 8' few.ppm 'pngtopnm 8.png'
read_row ppm binary bin.ppm '' photo.ppm 'ppmtoppm <bin.ppm'
read_row iff packed few.iff '' few.ppm 'ilbmtoppm few.iff'
read_row sgi run-length rle.sgi '--type rgb' few.ppm 'sgitopnm rle.sgi'
read_row alias run-length few.pix '' few.ppm
read_row softimage run-length few.pic '' few.ppm
read_row rla run-length few.rla '' few.ppm

write_row targa raw w.tga --no-compress photo.ppm 'pamtotga photo.ppm' \
  "$(ffmpeg_write photo.ppm '-rle 0 peer.tga')"
write_row targa run-length w.tga '' few.ppm 'pamtotga -rle few.ppm' \
  "$(ffmpeg_write few.ppm peer.tga)"
write_row bmp 24 w.bmp '' photo.ppm 'ppmtobmp photo.ppm' "$(ffmpeg_write photo.ppm peer.bmp)"
write_row gif '8, 256 colours' w.gif '' few.ppm 'ppmtogif few.ppm'
write_row pcx 24 w.pcx '' photo.ppm 'ppmtopcx -24bit photo.ppm' "$(ffmpeg_write photo.ppm peer.pcx)"
write_row png 24 w.png '' photo.ppm 'pnmtopng photo.ppm' "$(ffmpeg_write photo.ppm peer.png)"
write_row ppm binary w.ppm '' photo.ppm 'ppmtoppm <photo.ppm' "$(ffmpeg_write photo.ppm peer.ppm)"
write_row iff packed w.iff '' few.ppm 'ppmtoilbm -24force few.ppm'
write_row sgi run-length w.sgi '--type rgb' few.ppm 'pamtosgi few.ppm' "$(ffmpeg_write few.ppm peer.sgi)"
write_row alias run-length w.pix '' few.ppm "$(ffmpeg_write few.ppm peer.pix)"
