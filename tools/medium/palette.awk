# Writes a palette, 256 times red, green and blue, from lines "POSITION RED GREEN BLUE" with rising
# positions 0 .. 255: between them the colours change evenly. For LC_ALL=C.
{
  for (i = 2; i <= 4; ++i) {
    for (p = last + 1; NR > 1 && p <= $1; ++p) {
      value[p, i] = before[i] + ($i - before[i]) * (p - last) / ($1 - last)
    }
    value[$1, i] = before[i] = $i
  }
  last = $1
}
END {
  for (p = 0; p < 256; ++p) {
    for (i = 2; i <= 4; ++i) printf "%c", int(value[p, i] + 0.5)
  }
}
