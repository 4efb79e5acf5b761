; Shows every picture with every template.
for each picture
  for each template
    load picture
    apply template
    show 4 seconds
  next
next
