"""The music: short pieces for plucked strings and a piano, computed sample by sample."""

import subprocess
import tempfile
import wave
from pathlib import Path

import numpy as np

RATE = 44100
NOTES = {"C": 0, "D": 2, "E": 4, "F": 5, "G": 7, "A": 9, "B": 11}


def frequency(name):
    """Of a note such as "F#4"."""
    sharp = "#" in name
    return 440 * 2 ** ((NOTES[name[0]] + sharp + 12 * int(name[-1]) - 57) / 12)


def plucked(pitch, seconds, brightness, decay, seed):
    """A string that is plucked: noise that goes round in a loop and loses its edges."""
    length = int(RATE / pitch)
    loop = np.random.default_rng(seed).uniform(-1, 1, length)
    for _ in range(brightness):
        loop = 0.5 * (loop + np.roll(loop, 1))
    rounds = int(seconds * RATE / length) + 1
    out = np.empty(rounds * length)
    for number in range(rounds):
        out[number * length : (number + 1) * length] = loop
        loop = decay * 0.5 * (loop + np.roll(loop, 1))
    return out[: int(seconds * RATE)] / np.abs(out).max()


def guitar(pitch, seconds):
    return plucked(pitch, seconds, 3, 0.9985, int(pitch * 10))


def harpsichord(pitch, seconds):
    """Two choirs of strings, an octave apart, plucked close to their ends."""
    low = plucked(pitch, seconds, 0, 0.9970, int(pitch * 10))
    high = plucked(pitch * 2, seconds, 0, 0.9965, int(pitch * 10) + 1)
    return 0.65 * low + 0.35 * high


def piano(pitch, seconds):
    """Partials that are a little sharp, the higher ones fading sooner."""
    time = np.arange(int(seconds * RATE)) / RATE
    out = np.zeros_like(time)
    for partial in range(1, 14):
        own = pitch * partial * np.sqrt(1 + 0.0004 * partial**2)
        if own > RATE / 2.4:
            break
        fading = np.exp(-time * (0.7 + 0.35 * partial) * (pitch / 260) ** 0.5)
        beat = np.sin(2 * np.pi * own * time) + 0.6 * np.sin(2 * np.pi * own * 1.0006 * time + partial)
        out += beat * fading / partial**1.45
    return out / np.abs(out).max() * np.minimum(1, time / 0.004)


def mixed(instrument, notes, beat, ring):
    """Notes are (beat, name, loudness); each goes on sounding for `ring` seconds."""
    end = max(at for at, *_ in notes) * beat + ring
    track = np.zeros((int(end * RATE) + 1, 2))
    for number, (at, name, loudness) in enumerate(notes):
        tone = instrument(frequency(name), ring) * loudness
        fade = min(len(tone), RATE // 4)
        tone[-fade:] *= np.linspace(1, 0, fade)
        start = int(at * beat * RATE)
        place = 0.5 + 0.22 * np.sin(number * 1.7)
        track[start : start + len(tone)] += np.outer(tone, (1 - place, place))
    return with_room(track)


def with_room(track):
    """The sound of a small room: a few fading echoes, each duller than the last."""
    out = track.copy()
    echo = track
    for delay, part in ((0.031, 0.22), (0.047, 0.18), (0.071, 0.13), (0.109, 0.09)):
        echo = 0.5 * (echo + np.roll(echo, 1, axis=0))
        shift = int(delay * RATE)
        out[shift:] += part * echo[:-shift, ::-1]
    return out / np.abs(out).max() * 0.82


def broken_chords(chords, step, loudness=0.8):
    return [
        (number * len(chord.split()) * step + place * step, name, loudness * (1 if place == 0 else 0.75))
        for number, chord in enumerate(chords)
        for place, name in enumerate(chord.split())
    ]


def guitar_piece():
    notes = broken_chords(
        ["A2 E3 A3 C4 E4 C4 A3 E3", "F2 C3 F3 A3 C4 A3 F3 C3", "G2 D3 G3 B3 D4 B3 G3 D3"], 0.5
    )
    last = [(12 + 0.12 * n, name, 0.8) for n, name in enumerate("C3 G3 C4 E4 G4 C5".split())]
    return mixed(guitar, notes + last, 0.46, 2.6)


def harpsichord_piece():
    tune = "D5 C#5 D5 A4 F4 A4 D5 E5 F5 E5 F5 D5 A4 D5 F5 G5 A5 G5 F5 E5 F5 E5 D5 C#5".split()
    notes = [(number * 0.5, name, 0.7) for number, name in enumerate(tune)]
    bass = [(at, name, 0.6) for at, name in zip(range(0, 12, 2), "D3 F3 D3 A3 F3 A2".split())]
    last = [(12 + 0.1 * n, name, 0.7) for n, name in enumerate("D3 A3 D4 F4 A4 D5".split())]
    return mixed(harpsichord, notes + bass + last, 0.46, 1.9)


def piano_piece():
    left = broken_chords(["C3 G3 E4 G3", "A2 E3 C4 E3", "F2 C3 A3 C3", "G2 D3 B3 D3"], 0.75, 0.5)
    tune = [(0, "G4"), (1.5, "E5"), (2.25, "D5"), (3, "C5"), (4.5, "A4"), (5.25, "C5"), (6, "A4"),
            (7.5, "F4"), (8.25, "G4"), (9, "B4"), (10.5, "D5"), (11.25, "B4")]
    last = [(12.2 + 0.08 * n, name, 0.6) for n, name in enumerate("C3 G3 C4 E4 C5".split())]
    return mixed(piano, left + [(at, name, 0.85) for at, name in tune] + last, 0.52, 3.2)


def write_mp3(path, track, title):
    with tempfile.TemporaryDirectory() as folder:
        plain = Path(folder) / "plain.wav"
        with wave.open(str(plain), "wb") as file:
            file.setparams((2, 2, RATE, 0, "NONE", ""))
            file.writeframes((track * 32767).astype("<i2").tobytes())
        subprocess.run(
            ["ffmpeg", "-v", "error", "-y", "-i", plain, "-metadata", f"title={title}",
             "-codec:a", "libmp3lame", "-b:a", "80k", "-flags", "bitexact", "-fflags", "bitexact", path],
            check=True,
        )


def write_guitar(path):
    write_mp3(path, guitar_piece(), "Four Chords")


def write_harpsichord(path):
    write_mp3(path, harpsichord_piece(), "Small Invention")


def write_piano(path):
    write_mp3(path, piano_piece(), "Slow Walk")
