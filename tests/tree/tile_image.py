#!/usr/bin/env python3
"""tile_image.py: the committed tile image is what its script draws."""
import os
import subprocess
import sys
import tempfile

import tree

FOLDER = os.path.join(tree.ROOT, "src", "module", "tile_image")
with tempfile.TemporaryDirectory() as scratch:
    drawn = os.path.join(scratch, "drawn.bmp")
    subprocess.run([sys.executable, os.path.join(FOLDER, "draw_tile_image.py"), drawn], check=True)
    with open(drawn, "rb") as new, open(os.path.join(FOLDER, "tile_image.bmp"), "rb") as old:
        same = new.read() == old.read()
tree.finish([] if same else ["tile_image.bmp is not what draw_tile_image.py draws"],
            "Draw it again: src/module/tile_image/draw_tile_image.py FILE.bmp")
