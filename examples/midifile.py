"""Standard MIDI Files of format 1, written from notes in beats. Python's standard library only."""

import re

TICKS = 480  # in a quarter note, the beat of this module

_STEPS = {"C": 0, "D": 2, "E": 4, "F": 5, "G": 7, "A": 9, "B": 11}


def key(name):
    """The key number of a note name such as C4 (60), F#3 or Eb5."""
    step, sign, octave = re.fullmatch(r"([A-G])([#b]?)(-?\d)", name).groups()
    return _STEPS[step] + {"#": 1, "b": -1, "": 0}[sign] + 12 * (int(octave) + 1)


def _varying(value):
    octets = [value & 0x7F]
    while value > 0x7F:
        value >>= 7
        octets.insert(0, 0x80 | value & 0x7F)
    return bytes(octets)


def _chunk(name, content):
    return name + len(content).to_bytes(4, "big") + content


class Track:
    """Events by time; those of one time leave in the order: meta and set-up, note ends, notes."""

    def __init__(self, name):
        self._events = []
        self._meta(0, 0x03, name.encode("ascii"))

    def _add(self, beat, rank, data):
        self._events.append((round(beat * TICKS), rank, len(self._events), data))

    def _meta(self, beat, kind, content):
        self._add(beat, 0, bytes([0xFF, kind]) + _varying(len(content)) + content)

    def text(self, text):
        self._meta(0, 0x01, text.encode("ascii"))

    def marker(self, beat, text):
        self._meta(beat, 0x06, text.encode("ascii"))

    def tempo(self, beat, beats_a_minute):
        self._meta(beat, 0x51, round(60_000_000 / beats_a_minute).to_bytes(3, "big"))

    def meter(self, beat, numerator, denominator):
        self._meta(beat, 0x58, bytes([numerator, denominator.bit_length() - 1, 24, 8]))

    def key_signature(self, sharps, minor):
        self._meta(0, 0x59, bytes([sharps & 0xFF, int(minor)]))

    def program(self, beat, channel, program):
        self._add(beat, 0, bytes([0xC0 | channel, program]))

    def control(self, beat, channel, number, value):
        self._add(beat, 0, bytes([0xB0 | channel, number, value]))

    def note(self, beat, length, channel, number, velocity):
        velocity = max(1, min(127, round(velocity)))
        self._add(beat, 2, bytes([0x90 | channel, number, velocity]))
        self._add(beat + length, 1, bytes([0x80 | channel, number, 64]))

    def encoded(self):
        content = b""
        now = 0
        for tick, _, _, data in sorted(self._events):
            content += _varying(tick - now) + data
            now = tick
        return _chunk(b"MTrk", content + b"\x00\xFF\x2F\x00")


def encode(tracks):
    head = b"".join(n.to_bytes(2, "big") for n in (1, len(tracks), TICKS))
    return _chunk(b"MThd", head) + b"".join(track.encoded() for track in tracks)
