box.kvl: \
  scenes/box.obj \
  scenes/box.mtl \
  kvlexp.ini
