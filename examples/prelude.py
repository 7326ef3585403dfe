"""J. S. Bach, Prelude in C major, BWV 846, from the first book of the Well-Tempered Clavier (1722).

All 35 bars of Bach's text: without the extra bar that a copyist of 1783 put between 22 and 23.
"""

from midifile import Track, key

# Bars 1 to 32: a held bass note, a held second note, and three that are broken over them. Every bar
# plays its five notes twice as 1 2 3 4 5 3 4 5, in sixteenths.
BROKEN = """
C4 E4 G4 C5 E5    C4 D4 A4 D5 F5    B3 D4 G4 D5 F5    C4 E4 G4 C5 E5
C4 E4 A4 E5 A5    C4 D4 F#4 A4 D5   B3 D4 G4 D5 G5    B3 C4 E4 G4 C5
A3 C4 E4 G4 C5    D3 A3 D4 F#4 C5   G3 B3 D4 G4 B4    G3 Bb3 E4 G4 C#5
F3 A3 D4 A4 D5    F3 Ab3 D4 F4 B4   E3 G3 C4 G4 C5    E3 F3 A3 C4 F4
D3 F3 A3 C4 F4    G2 D3 G3 B3 F4    C3 E3 G3 C4 E4    C3 G3 Bb3 C4 E4
F2 F3 A3 C4 E4    F#2 C3 A3 C4 Eb4  Ab2 F3 B3 C4 D4   G2 F3 G3 B3 D4
G2 E3 G3 C4 E4    G2 D3 G3 C4 F4    G2 D3 G3 B3 F4    G2 Eb3 A3 C4 F#4
G2 E3 G3 C4 G4    G2 D3 G3 C4 F4    G2 D3 G3 B3 F4    C2 C3 G3 Bb3 E4
""".split()

# Bars 33 and 34: bass, second note, then fourteen sixteenths over both.
RUNS = [
    "C2 C3  F3 A3 C4 F4 C4 A3 C4 A3 F3 A3 F3 D3 F3 D3".split(),
    "C2 B2  G3 B3 D4 F4 D4 B3 D4 B3 G3 B3 D3 F3 E3 D3".split(),
]
LAST = "C2 C3 E4 G4 C5".split()

SIXTEENTH = 0.25
BAR = 4

# How loud each bar is: the phrases rise to bar 7, fall away to 19, and grow over the long G of the
# bass up to bar 29.
LOUDNESS = [
    82, 84, 86, 83, 89, 88, 91, 85, 83, 85, 82, 88, 83, 87, 81, 79, 78, 81, 77,
    81, 80, 87, 89, 85, 87, 86, 88, 94, 92, 87, 84, 82, 80, 76, 72,
]

# Tempo by bar and beat, in quarter notes a minute.
TEMPO = [
    (1, 0, 66), (4, 2, 64), (5, 0, 67), (11, 2, 64), (12, 0, 66), (19, 2, 62), (20, 0, 66),
    (23, 0, 64), (24, 0, 66), (28, 2, 63), (29, 0, 64), (32, 0, 62), (33, 0, 59), (33, 2, 56),
    (34, 0, 52), (34, 1, 48), (34, 2, 43), (34, 3, 36), (34, 3.5, 31), (35, 0, 40),
]


def play_broken(track, start, notes, loudness):
    keys = [key(name) for name in notes]
    for half in (0, 2):
        # The two lower notes stay down, as the score writes them.
        track.note(start + half, 2, 0, keys[0], loudness + 4)
        track.note(start + half + SIXTEENTH, 1.75, 0, keys[1], loudness - 2)
        for place, number in enumerate((2, 3, 4, 2, 3, 4)):
            shape = (-4, -2, 2, -5, -3, 0)[place] - (2 if half else 0)
            begin = start + half + (2 + place) * SIXTEENTH
            track.note(begin, 0.95 * SIXTEENTH, 0, keys[number], loudness + shape)


def play_run(track, start, notes, loudness):
    keys = [key(name) for name in notes]
    track.note(start, BAR, 0, keys[0], loudness + 4)
    track.note(start + SIXTEENTH, BAR - SIXTEENTH, 0, keys[1], loudness - 1)
    for place, number in enumerate(keys[2:]):
        begin = start + (2 + place) * SIXTEENTH
        track.note(begin, 0.98 * SIXTEENTH, 0, number, loudness - 0.4 * place)


def tracks():
    head = Track("Prelude in C, BWV 846")
    head.text("Johann Sebastian Bach, 1722")
    head.key_signature(0, minor=False)
    head.meter(0, 4, 4)
    for bar, beat, tempo in TEMPO:
        head.tempo((bar - 1) * BAR + beat, tempo)

    piano = Track("Piano")
    piano.program(0, 0, 0)
    for number, value in ((7, 127), (10, 64), (91, 40), (93, 0)):
        piano.control(0, 0, number, value)
    for bar in range(32):
        play_broken(piano, bar * BAR, BROKEN[5 * bar : 5 * bar + 5], LOUDNESS[bar])
    for bar, run in enumerate(RUNS, 32):
        play_run(piano, bar * BAR, run, LOUDNESS[bar])
    for name in LAST:
        piano.note(34 * BAR, BAR, 0, key(name), LOUDNESS[34])
    return [head, piano]
