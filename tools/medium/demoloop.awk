# Writes a short uncompressed AVI: a turning spiral in 256 golds. For LC_ALL=C.
# The layout is RIFF: chunks of a four-letter id, a little-endian size and that many bytes; "LIST"
# chunks hold a form id and further chunks. Pixels are palette indexes, rows bottom-up.
function u32(n) {
  printf "%c%c%c%c", n % 256, int(n / 256) % 256, int(n / 65536) % 256, int(n / 16777216)
}
function u16(n) { printf "%c%c", n % 256, int(n / 256) }
function chunk(id, size) { printf "%s", id; u32(size) }
function list(form, size) { chunk("LIST", size + 4); printf "%s", form }

function main_header() {
  chunk("avih", 56)
  u32(1000000 / rate); u32(frame_size * rate); u32(0)
  u32(16) # there is an index
  u32(frames); u32(0); u32(1); u32(frame_size); u32(width); u32(height)
  u32(0); u32(0); u32(0); u32(0)
}

function stream_header() {
  chunk("strh", 56)
  printf "vidsDIB "
  u32(0); u32(0); u32(0)
  u32(1); u32(rate) # frames per second as a fraction
  u32(0); u32(frames); u32(frame_size); u32(0); u32(0)
  u16(0); u16(0); u16(width); u16(height)
}

function stream_format(   i) {
  chunk("strf", 40 + 1024)
  u32(40); u32(width); u32(height); u16(1); u16(8); u32(0); u32(frame_size)
  u32(0); u32(0); u32(256); u32(0)
  for (i = 0; i < 256; ++i) printf "%c%c%c%c", i * 0.15, i * 0.65, i * 0.88, 0
}

function frame(n,   x, y, distance, angle) {
  chunk("00db", frame_size)
  for (y = 0; y < height; ++y) {
    for (x = 0; x < width; ++x) {
      distance = sqrt((x - width / 2) ^ 2 + (y - height / 2) ^ 2)
      angle = atan2(y - height / 2, x - width / 2)
      printf "%c", int(128 + 120 * sin(3 * angle + distance / 5 - 2 * pi * n / frames))
    }
  }
}

BEGIN {
  width = 96; height = 72; frames = 20; rate = 10
  frame_size = width * height
  pi = atan2(0, -1)
  stream = 4 + (8 + 56) + (8 + 40 + 1024)
  movie = frames * (8 + frame_size)

  chunk("RIFF", 4 + (12 + 64 + 8 + stream) + (12 + movie) + (8 + 16 * frames))
  printf "AVI "
  list("hdrl", 64 + 8 + stream)
  main_header()
  list("strl", stream - 4)
  stream_header()
  stream_format()
  list("movi", movie)
  for (n = 0; n < frames; ++n) frame(n)
  chunk("idx1", 16 * frames)
  for (n = 0; n < frames; ++n) {
    printf "00db"; u32(16); u32(4 + n * (8 + frame_size)); u32(frame_size)
  }
}
