#!/usr/bin/python3
"""Makes the files in resources/ anew, without a network. lorem.txt alone is written by hand.

make.py [NAME...]    all files, or those whose names begin with one of the words
"""

import sys
from pathlib import Path

sys.dont_write_bytecode = True
import birds
import books
import colorful
import faces
import placeholder
import sounds

RESOURCES = Path(__file__).resolve().parents[2] / "resources"

MAKERS = {
    "guitar.mp3": sounds.write_guitar,
    "harpsichord.mp3": sounds.write_harpsichord,
    "piano.mp3": sounds.write_piano,
    "birds.jpg": birds.write,
    "posing.jpg": faces.write_portrait,
    "foxies.jpg": faces.write_foxes,
    "colorful.jpg": colorful.write,
    "A-Room-with-a-View.pdf": books.write_view,
    "The-Prince.pdf": books.write_prince,
    "The-Problems-of-Philosophy.pdf": books.write_philosophy,
    "thumb_placeholder.png": placeholder.write,
}


def main(words):
    RESOURCES.mkdir(exist_ok=True)
    for name, write in MAKERS.items():
        if not words or any(name.startswith(word) for word in words):
            path = RESOURCES / name
            write(path)
            print(f"{path.stat().st_size:9,} bytes  {name}")


if __name__ == "__main__":
    main(sys.argv[1:])
