cube.kvl: \
  scenes/cube.json \
  kvlexp.ini
