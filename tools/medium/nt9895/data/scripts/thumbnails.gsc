; Small copies of all pictures.
for each picture
  load picture
  resample 36 32
  save picture "_small"
next
