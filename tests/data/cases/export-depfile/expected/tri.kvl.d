<case>/tri.kvl: \
  <case>/scenes/tri.gltf \
  <case>/scenes/tri.bin \
  <case>/kvlexp.ini
