#!/bin/bash
# imx as a whole process beside the tools that Debian has for each format: CPU time (user and system)
# of reading and of writing a 2048 x 2048 picture, best of several runs, and imx's time over that of
# the fastest peer (below 1.00: imx is faster).
#
# Usage: bench/whole_process.sh [IMX [RUNS [FORMAT...]]]     (by default: out/linux/imx 3, all formats)
# Peers that are not installed are left out: netpbm, graphicsmagick, ffmpeg, imagemagick,
# openimageio-tools, gdal-bin, and stb_image (libstb-dev), which a small program makes a process of.
set -euo pipefail
export LC_ALL=C SOURCE_DATE_EPOCH=0 OMP_NUM_THREADS=1 MAGICK_THREAD_LIMIT=1

imx=$(realpath "${1:-out/linux/imx}")
runs=${2:-3}
formats=("${@:3}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

sink=/dev/null  # what a command prints goes here

# CPU seconds of the best run; a peer that is missing or fails prints nothing.
cpu_time() {
  local best='' now run
  command -v "${1%% *}" >/dev/null || return 0
  for ((run = 0; run < runs; ++run)); do
    now=$({ TIMEFORMAT='%U %S'; time eval "$1" >"$sink" 2>errors </dev/null; } 2>&1) || return 0
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
    best=$time fastest=${peer%% *} fastest=${fastest##*/}
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
  convert-im6 -size 2048x2048 -seed 1 plasma:fractal +noise Gaussian -depth 8 photo.ppm
fi
"$imx" convert -q photo.ppm few.gif
"$imx" convert -q few.gif few.ppm

if [[ -e /usr/include/stb/stb_image.h ]]; then
  cc -O2 -o stb -x c - -lm <<'END'
#define STB_IMAGE_IMPLEMENTATION
#include <stb/stb_image.h>
int main(int count, char **arguments) {
  int width, height, channels;
  unsigned char *pixels = stbi_load(arguments[count - 1], &width, &height, &channels, 4);
  return !pixels || fwrite(pixels, 4 * (size_t)width, height, stdout) != (size_t)height;
}
END
fi

printf '%-10s %-16s %8s %8s  %-12s %s\n' format what imx peer 'peer is' ratio

# read_row FORMAT WHAT FILE MAKE PEER...: makes FILE with the command MAKE, then times decoding it.
read_row() {
  local format=$1 what=$2 file=$3 make=$4
  wanted "$format" || return 0
  if ! eval "$make" >/dev/null 2>errors; then
    printf '%-10s %-16s (nothing here makes this file)\n' "$format" "read $what"
    return 0
  fi
  row "$format" "read $what" "$imx pixels $file" "${@:5}" "$(ffmpeg_read "$file")" \
    "./stb $file" "gm convert $file rgba:/dev/null" "convert-im6 $file rgba:/dev/null"
}
# One frame of an animation; no tool in Debian writes any.
make_flc() {
  gm convert few.gif gray:indices.raw && python3 - indices.raw "$1" <<'END'
import itertools, struct, sys

side = 2048
indices = open(sys.argv[1], "rb").read()

def row(y):
    """Runs of three and more, literals between them."""
    packed, literal = bytearray([0]), bytearray()
    def flush():
        for at in range(0, len(literal), 128):
            part = literal[at:at + 128]
            packed.append(256 - len(part))
            packed.extend(part)
        literal.clear()
    for value, group in itertools.groupby(indices[y * side:(y + 1) * side]):
        length = len(list(group))
        while length > 2:
            flush()
            packed.extend((min(length, 127), value))
            length -= min(length, 127)
        literal.extend([value] * length)
    flush()
    return packed

def chunk(kind, data):
    return struct.pack("<IH", len(data) + 6, kind) + data

colours = struct.pack("<HBB", 1, 0, 0) + bytes(v for i in range(256) for v in (i, i, 255 - i))
chunks = chunk(4, colours) + chunk(15, b"".join(map(row, range(side))))
frame = struct.pack("<IHH8x", len(chunks) + 16, 0xF1FA, 2) + chunks
header = struct.pack("<IHHHHHHI", len(frame) + 128, 0xAF12, 1, side, side, 8, 3, 40)
open(sys.argv[2], "wb").write(header.ljust(128, b"\0") + frame)
END
}

# Elevations of one degree, with the short first record of old files and a name that cannot be taken
# for another format's.
make_dem() {
  local side=1201
  gm convert few.ppm -crop ${side}x${side}+0+0 gray:grey.raw
  cat >grey.vrt <<END
<VRTDataset rasterXSize="$side" rasterYSize="$side"><SRS>EPSG:4269</SRS>
<GeoTransform>-118, 0.000833333333, 0, 35, 0, -0.000833333333</GeoTransform>
<VRTRasterBand dataType="Byte" band="1" subClass="VRTRawRasterBand">
<SourceFilename relativeToVRT="1">grey.raw</SourceFilename></VRTRasterBand></VRTDataset>
END
  gdal_translate -q -of USGSDEM -ot Int16 grey.vrt long.dem
  { printf '%-144s' ELEVATIONS-OF-A-PICTURE && head -c 864 long.dem | tail -c 720 && printf '%160s' '' &&
    tail -c +1025 long.dem; } >"$1"
}

by_imx() { "$imx" convert -q "$@"; }

# write_row FORMAT WHAT OUTPUT CONVERT-OPTIONS SOURCE PEER...
write_row() {
  local sink=peer.out
  row "$1" "write $2" "$imx convert -q $4 $5 $3" "${@:6}"
}

read_row targa raw raw.tga 'by_imx --no-compress photo.ppm raw.tga' 'tgatoppm raw.tga'
read_row targa run-length rle.tga 'by_imx few.ppm rle.tga' 'tgatoppm rle.tga'
read_row bmp 24 24.bmp 'by_imx photo.ppm 24.bmp' 'bmptopnm 24.bmp'
read_row bmp 8 8.bmp 'by_imx --depth 8 few.ppm 8.bmp' 'bmptopnm 8.bmp'
read_row gif 8 8.gif 'by_imx few.ppm 8.gif' 'giftopnm 8.gif'
read_row pcx 24 24.pcx 'by_imx photo.ppm 24.pcx' 'pcxtoppm 24.pcx'
read_row pcx 8 8.pcx 'by_imx --depth 8 few.ppm 8.pcx' 'pcxtoppm 8.pcx'
read_row png 24 24.png 'by_imx photo.ppm 24.png' 'pngtopnm 24.png'
read_row png 8 8.png 'by_imx --depth 8 few.ppm 8.png' 'pngtopnm 8.png'
read_row ppm binary bin.ppm 'by_imx photo.ppm bin.ppm' 'ppmtoppm <bin.ppm'
read_row iff packed few.iff 'by_imx few.ppm few.iff' 'ilbmtoppm few.iff'
read_row sgi verbatim raw.sgi 'by_imx --type rgb --no-compress few.ppm raw.sgi' 'sgitopnm raw.sgi'
read_row sgi run-length rle.sgi 'by_imx --type rgb few.ppm rle.sgi' 'sgitopnm rle.sgi'
read_row alias run-length few.pix 'by_imx few.ppm few.pix'
read_row softimage raw few.pic 'by_imx few.ppm few.pic'
read_row rla literal few.rla 'by_imx few.ppm few.rla' 'oiiotool few.rla --threads 1 --echo ""'
read_row rla run-length peer.rla 'oiiotool few.ppm -o peer.rla'
read_row psd raw raw.psd 'convert-im6 few.ppm -compress none raw.psd'
read_row psd run-length rle.psd 'convert-im6 few.ppm -compress RLE rle.psd'
read_row flc run-length few.flc 'make_flc few.flc'
read_row avi raw few.avi 'ffmpeg -i few.ppm -c:v rawvideo -pix_fmt bgr24 few.avi'
read_row dem text grey.dem 'make_dem grey.dem' 'gdal_translate -q -of MEM grey.dem none'
read_row jpeg '4:2:0' photo.jpg 'by_imx --quality 85 photo.ppm photo.jpg' 'djpeg -outfile peer.out photo.jpg'
read_row tiff raw raw.tif 'by_imx --no-compress photo.ppm raw.tif' 'tifftopnm raw.tif'
read_row tiff LZW lzw.tif 'by_imx few.ppm lzw.tif' 'tifftopnm lzw.tif'

write_row targa raw w.tga --no-compress photo.ppm 'pamtotga photo.ppm' \
  "$(ffmpeg_write photo.ppm '-rle 0 peer.tga')" \
  'gm convert photo.ppm peer.tga'
write_row targa run-length w.tga '' few.ppm 'pamtotga -rle few.ppm' \
  "$(ffmpeg_write few.ppm peer.tga)" \
  'gm convert few.ppm -compress RLE peer.tga'
write_row bmp 24 w.bmp '' photo.ppm 'ppmtobmp photo.ppm' "$(ffmpeg_write photo.ppm peer.bmp)" \
  'gm convert photo.ppm peer.bmp'
write_row gif '8, 256 colours' w.gif '' few.ppm 'ppmtogif few.ppm' \
  'gm convert few.ppm peer.gif'
write_row pcx 24 w.pcx '' photo.ppm 'ppmtopcx -24bit photo.ppm' "$(ffmpeg_write photo.ppm peer.pcx)" \
  'gm convert photo.ppm peer.pcx'
write_row png 24 w.png '' photo.ppm 'pnmtopng photo.ppm' "$(ffmpeg_write photo.ppm peer.png)" \
  'gm convert photo.ppm peer.png'
write_row ppm binary w.ppm '' photo.ppm 'ppmtoppm <photo.ppm' "$(ffmpeg_write photo.ppm peer.ppm)" \
  'gm convert photo.ppm peer.ppm'
write_row iff packed w.iff '' few.ppm 'ppmtoilbm -24force few.ppm'
write_row sgi verbatim w.sgi '--type rgb --no-compress' few.ppm 'pamtosgi -verbatim few.ppm' \
  'gm convert few.ppm +compress peer.sgi' "$(ffmpeg_write few.ppm '-rle 0 peer.sgi')"
write_row sgi run-length w.sgi '--type rgb' few.ppm 'pamtosgi few.ppm' "$(ffmpeg_write few.ppm peer.sgi)" \
  'gm convert few.ppm -compress RLE peer.sgi'
write_row alias run-length w.pix '' few.ppm "$(ffmpeg_write few.ppm peer.pix)"
write_row softimage raw w.pic '' few.ppm
write_row rla literal w.rla '' few.ppm 'oiiotool few.ppm --threads 1 -o peer.rla'
write_row jpeg '4:2:0' w.jpg '--quality 85' photo.ppm 'gm convert photo.ppm -quality 85 peer.jpg' \
  'cjpeg -optimize -quality 85 -outfile peer.jpg photo.ppm'
write_row tiff raw w.tif --no-compress photo.ppm 'gm convert photo.ppm -compress none peer.tif'
write_row tiff LZW w.tif '' few.ppm 'gm convert few.ppm -compress lzw peer.tif'
