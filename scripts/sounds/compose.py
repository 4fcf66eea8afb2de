#!/usr/bin/env python3
"""Writes the MIDI score of each built-in sound: compose.py OUT_DIR.

Each score is a short General MIDI phrase; make-sounds.sh renders it with FluidSynth. The standard
library is enough to write a type-0 MIDI file, so nothing needs installing beyond Python itself.
"""
import struct
import sys
from pathlib import Path

TICKS = 480  # per quarter note; the tempo below makes a quarter note half a second


def var_len(value):
    out = [value & 0x7F]
    value >>= 7
    while value:
        out.insert(0, (value & 0x7F) | 0x80)
        value >>= 7
    return bytes(out)


def midi(program, notes, channel=0):
    """notes: (start beat, length in beats, key, velocity). Channel 9 is the GM percussion kit."""
    events = []
    for start, length, key, velocity in notes:
        events.append((round(start * TICKS), 1, bytes([0x90 | channel, key, velocity])))
        events.append((round((start + length) * TICKS), 0, bytes([0x80 | channel, key, 0])))
    events.sort(key=lambda e: (e[0], e[1]))
    track = bytearray()
    track += var_len(0) + b"\xff\x51\x03" + (500000).to_bytes(3, "big")  # 120 beats a minute
    track += var_len(0) + bytes([0xC0 | channel, program])
    track += var_len(0) + bytes([0xB0 | channel, 7, 110])  # channel volume
    now = 0
    for tick, _, data in events:
        track += var_len(tick - now) + data
        now = tick
    track += var_len(0) + b"\xff\x2f\x00"
    header = b"MThd" + struct.pack(">IHHH", 6, 0, 1, TICKS)
    return header + b"MTrk" + struct.pack(">I", len(track)) + bytes(track)


# Keys: middle C is 60. Beats are half a second.
SCORES = {
    # A rising C major phrase that settles on a soft chord: the end of the talk, said kindly.
    "left-coast-piano": midi(0, [
        (0.00, 0.5, 64, 88), (0.25, 0.5, 67, 84), (0.50, 0.5, 72, 90), (0.75, 0.5, 76, 92),
        (1.00, 3.0, 79, 96), (1.00, 3.0, 72, 70), (1.00, 3.0, 64, 66), (1.00, 3.0, 48, 72),
    ]),
    # A second motif: a falling fourth answered by a rising sixth, on the bright piano.
    "piano-1": midi(1, [
        (0.0, 0.6, 77, 92), (0.5, 0.6, 72, 86), (1.0, 2.6, 81, 96), (1.0, 2.6, 65, 70),
        (1.0, 2.6, 53, 70),
    ]),
    # Three strikes of a tubular bell, the last left to ring.
    "school-bell": midi(14, [
        (0.0, 0.5, 72, 110), (0.5, 0.5, 72, 100), (1.0, 3.0, 72, 112),
    ]),
    # A pentatonic harp run upward over two octaves, landing on a held note.
    "harp-compound": midi(46, [
        (i * 0.125, 3.0 - i * 0.125, key, 96)
        for i, key in enumerate([55, 57, 60, 62, 64, 67, 69, 72, 74, 76, 79])
    ] + [(11 * 0.125, 2.5, 84, 104)]),
    # One tap on a muted triangle: a small, dry tin click.
    "click-tin": midi(0, [(0.0, 0.2, 80, 120)], channel=9),
}

if __name__ == "__main__":
    out = Path(sys.argv[1])
    out.mkdir(parents=True, exist_ok=True)
    for name, data in SCORES.items():
        (out / f"{name}.mid").write_bytes(data)
