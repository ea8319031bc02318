<case>/box.kvl: \
  <case>/scenes/box.obj \
  <case>/scenes/box.mtl \
  <case>/kvlexp.ini
