<case>/cube.kvl: \
  <case>/scenes/cube.json \
  <case>/kvlexp.ini
