tri.kvl: \
  scenes/tri.gltf \
  scenes/tri.bin \
  kvlexp.ini
