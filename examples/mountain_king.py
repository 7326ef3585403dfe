"""Edvard Grieg, In the Hall of the Mountain King, from Peer Gynt, op. 23 (1875) and op. 46 (1888).

Grieg's melody, harmony and form in his key: an opening call, three times the theme of 24 bars (eight
in B minor, eight in F sharp major, eight in B minor), each time higher, louder and faster, and a
coda. The setting is for the thirteen parts below; the coda is condensed from his.
"""

from midifile import Track, key

BAR = 4
EIGHTH = 0.5

# A part: MIDI channel, name, first program, volume, pan, reverb send.
PARTS = {
    "piccolo": (0, "Piccolo", 72, 92, 78, 50),
    "oboe": (1, "Oboe", 68, 96, 54, 48),
    "clarinet": (2, "Clarinet", 71, 98, 72, 48),
    "bassoon": (3, "Bassoon", 70, 108, 82, 48),
    "horns": (4, "Horns", 60, 96, 40, 60),
    "trumpets": (5, "Trumpets", 56, 86, 88, 58),
    "trombones": (6, "Trombones", 57, 92, 96, 58),
    "timpani": (7, "Timpani", 47, 104, 60, 64),
    "violins": (8, "Violins", 45, 106, 30, 55),
    "percussion": (9, "Cymbals and bass drum", 0, 94, 66, 64),
    "violas": (10, "Second violins and violas", 45, 100, 48, 55),
    "cellos": (11, "Cellos", 45, 110, 92, 50),
    "basses": (12, "Double basses", 45, 114, 104, 46),
}
PIZZICATO, STRINGS, TREMOLO, CONTRABASS = 45, 48, 44, 43
BASS_DRUM, CRASH = 36, 49

# The theme's two phrases of four bars, in eighths; ":n" holds a note for n of them.
MINOR = """
B2 C#3 D3 E3 F#3 D3 F#3:2         F3 C#3 F3:2 E3 C3 E3:2
B2 C#3 D3 E3 F#3 D3 F#3 B3        A3 F#3 D3 F#3 A3:4
"""
MAJOR = """
F#3 G#3 A#3 B3 C#4 A#3 C#4:2      D4 A#3 D4:2 C#4 A#3 C#4:2
F#3 G#3 A#3 B3 C#4 A#3 C#4:2      D4 A#3 D4:2 C#4:4
"""

# Under each half bar of a phrase: two bass notes in quarters, and the chord after each.
MINOR_HARMONY = [
    ("B F#", "F#3 B3 D4"), ("B F#", "F#3 B3 D4"), ("B G#", "F3 B3 C#4"), ("B G", "E3 B3 C4"),
    ("B F#", "F#3 B3 D4"), ("B F#", "F#3 B3 D4"), ("D A", "F#3 A3 D4"), ("D A", "F#3 A3 D4"),
]
MAJOR_HARMONY = [
    ("F# C#", "F#3 A#3 C#4"), ("F# C#", "F#3 A#3 C#4"), ("F# D", "F#3 A#3 D4"),
    ("F# C#", "F#3 A#3 C#4"), ("F# C#", "F#3 A#3 C#4"), ("F# C#", "F#3 A#3 C#4"),
    ("F# D", "F#3 A#3 D4"), ("F# C#", "F#3 A#3 C#4"),
]

# Bar numbers, from 1 as in the score.
FIRST, SECOND, THIRD, CODA, END = 2, 26, 50, 74, 88


def tempi():
    """Bar, beat and quarter notes a minute: the call, the march, its long acceleration, the coda."""
    yield 1, 0, 100
    yield 1, 3, 60  # the call's fermata
    yield FIRST, 0, 126
    for bar in range(18, SECOND):
        yield bar, 0, 126 + (bar - 17)
    for bar in range(SECOND, THIRD):
        yield bar, 0, 136 + 1.5 * (bar - SECOND)
    for bar in range(THIRD, CODA):
        yield bar, 0, 182 + 1.5 * (bar - THIRD)
    for bar in range(CODA, 86):
        yield bar, 0, 220 + 2 * (bar - CODA)
    yield 86, 0, 200
    yield 87, 0, 150
    yield END, 0, 96


class Orchestra:
    def __init__(self):
        self.tracks = {}
        for part, (channel, name, program, volume, pan, reverb) in PARTS.items():
            track = self.tracks[part] = Track(name)
            track.program(0, channel, program)
            for number, value in ((7, volume), (10, pan), (11, 127), (91, reverb), (93, 0)):
                track.control(0, channel, number, value)

    def program(self, part, bar, program):
        # A little early, so that it is there before the bar's first note.
        self.tracks[part].program((bar - 1) * BAR - 0.1, PARTS[part][0], program)

    def note(self, part, bar, beat, length, number, velocity):
        self.tracks[part].note((bar - 1) * BAR + beat, length, PARTS[part][0], number, velocity)

    def expression(self, part, bar, beat, value):
        self.tracks[part].control((bar - 1) * BAR + beat, PARTS[part][0], 11, value)

    def swell(self, part, bar, bars, low, high):
        """Expression from low to high in sixteen steps."""
        for step in range(17):
            beat = bars * BAR * step / 16
            self.expression(part, bar, beat, round(low + (high - low) * step / 16))


def melody(orchestra, part, bar, text, loudness, octaves=0, length=0.6):
    """A phrase; every bar's first note and every held one are leaned on."""
    beat = 0.0
    for word in text.split():
        name, _, eighths = word.partition(":")
        duration = int(eighths or 1) * EIGHTH
        accent = 8 if beat % BAR == 0 else 5 if eighths else 0
        orchestra.note(part, bar, beat, duration * (length if not eighths else 0.75),
                       key(name) + 12 * octaves, loudness + accent)
        beat += duration


def bass(orchestra, part, bar, harmony, loudness, octave=1):
    """On every beat: root, fifth, root, fifth."""
    for half, (names, _) in enumerate(harmony):
        for beat, name in enumerate(names.split()):
            number = key(f"{name}{octave}")
            number += 12 if number < key(f"E{octave}") else 0
            orchestra.note(part, bar, 2 * half + beat, 0.45, number, loudness + 4 - 4 * beat)


def chords(orchestra, part, bar, harmony, loudness, octaves=0, voices=(0, 1, 2)):
    """After every beat."""
    for half, (_, names) in enumerate(harmony):
        keys = [key(name) + 12 * octaves for name in names.split()]
        for beat in (0.5, 1.5):
            for voice in voices:
                orchestra.note(part, bar, 2 * half + beat, 0.3, keys[voice], loudness)


def opening(orchestra):
    for name in ("F#2", "F#3"):
        orchestra.note("horns", 1, 0, 4, key(name), 84)
    orchestra.swell("horns", 1, 1, 110, 60)
    orchestra.expression("horns", 2, 0, 127)
    for part, name in (("basses", "B1"), ("cellos", "B2"), ("timpani", "B2")):
        orchestra.note(part, 1, 0, 0.5, key(name), 76)


def first_time(orchestra):
    """Plucked basses and cellos, answered by the bassoon."""
    for bar, text, harmony in ((2, MINOR, MINOR_HARMONY), (10, MAJOR, MAJOR_HARMONY),
                               (18, MINOR, MINOR_HARMONY)):
        loudness = 68 + (bar - FIRST) // 2
        melody(orchestra, "cellos", bar, text, loudness + 8)
        melody(orchestra, "basses", bar, text, loudness + 6, octaves=-1)
        melody(orchestra, "bassoon", bar + 4, text, loudness + 10)
        chords(orchestra, "violas", bar + 4, harmony, loudness - 8, voices=(0, 2))
        bass(orchestra, "basses", bar + 4, harmony, loudness)
    orchestra.note("timpani", 25, 2, 0.5, key("B2"), 60)
    orchestra.note("timpani", 25, 3, 0.5, key("B2"), 66)


def second_time(orchestra):
    """Plucked violins an octave higher, joined by oboe and clarinet; the strings mark the beat."""
    for bar, text, harmony in ((26, MINOR, MINOR_HARMONY), (34, MAJOR, MAJOR_HARMONY),
                               (42, MINOR, MINOR_HARMONY)):
        loudness = 76 + (bar - SECOND) // 2
        for start in (bar, bar + 4):
            bass(orchestra, "basses", start, harmony, loudness)
            bass(orchestra, "cellos", start, harmony, loudness - 2, octave=2)
            chords(orchestra, "violas", start, harmony, loudness - 10)
            melody(orchestra, "violins", start, text, loudness + 12, octaves=1)
        melody(orchestra, "clarinet", bar + 4, text, loudness + 4, octaves=1)
        if bar > SECOND:
            melody(orchestra, "oboe", bar, text, loudness + 2, octaves=1)
            melody(orchestra, "oboe", bar + 4, text, loudness + 4, octaves=2)
            chords(orchestra, "horns", bar + 4, harmony, loudness - 12, voices=(0, 1))
    melody(orchestra, "piccolo", 46, MINOR, 72, octaves=2)
    for beat in range(16):
        orchestra.note("timpani", 46, beat, 0.4, key("B2"), 56 + 2 * beat)


def third_time(orchestra):
    """Everyone, bowed and blown."""
    orchestra.program("violins", THIRD, STRINGS)
    orchestra.program("violas", THIRD, TREMOLO)
    orchestra.program("cellos", THIRD, STRINGS)
    orchestra.program("basses", THIRD, CONTRABASS)
    for bar in (50, 54, 58, 62, 66, 70):
        text, harmony = (MAJOR, MAJOR_HARMONY) if bar in (58, 62) else (MINOR, MINOR_HARMONY)
        loudness = 82 + (bar - THIRD) // 2
        for part, octaves in (("violins", 2), ("piccolo", 3), ("oboe", 2), ("clarinet", 2)):
            melody(orchestra, part, bar, text, loudness, octaves=octaves, length=0.7)
        melody(orchestra, "violins", bar, text, loudness - 4, octaves=1, length=0.7)
        if bar >= 62:
            melody(orchestra, "trumpets", bar, text, loudness - 12, octaves=1, length=0.6)
        bass(orchestra, "basses", bar, harmony, loudness)
        bass(orchestra, "cellos", bar, harmony, loudness, octave=2)
        bass(orchestra, "bassoon", bar, harmony, loudness - 6, octave=2)
        chords(orchestra, "violas", bar, harmony, loudness - 14)
        chords(orchestra, "horns", bar, harmony, loudness - 10, voices=(0, 1))
        chords(orchestra, "trombones", bar, harmony, loudness - 16, octaves=-1)
        beat_drums(orchestra, bar, harmony, loudness)


def beat_drums(orchestra, bar, harmony, loudness):
    root = harmony[0][0].split()[0]
    for number in range(8):
        orchestra.note("timpani", bar, 2 * number, 0.5, key(root + "2"), loudness - 4)
        orchestra.note("percussion", bar, 2 * number, 0.5, BASS_DRUM, loudness - 18)
    for number in (0, 2):
        orchestra.note("percussion", bar + number, 0, 2, CRASH, loudness - 22)


# The coda's chords, for every part that plays them.
B_MINOR = {
    "piccolo": "B6", "oboe": "F#5", "clarinet": "D5", "bassoon": "B2", "horns": "F#3 B3 D4",
    "trumpets": "D5 B4", "trombones": "F#3 D3 B2", "violins": "B5 F#5", "violas": "D4 F#4",
    "cellos": "B2 F#3", "basses": "B1", "timpani": "B2",
}
F_SHARP = {
    "piccolo": "A#6", "oboe": "F#5", "clarinet": "C#5", "bassoon": "F#2", "horns": "F#3 A#3 C#4",
    "trumpets": "C#5 A#4", "trombones": "F#3 C#3 A#2", "violins": "A#5 F#5", "violas": "C#4 F#4",
    "cellos": "F#2 C#3", "basses": "F#1", "timpani": "F#2",
}


def hit(orchestra, bar, beat, chord, length=0.4, velocity=96):
    for part, names in chord.items():
        for name in names.split():
            orchestra.note(part, bar, beat, length, key(name), velocity - 4 * names.count(" "))
    orchestra.note("percussion", bar, beat, 1, CRASH, velocity - 24)
    orchestra.note("percussion", bar, beat, 0.5, BASS_DRUM, velocity - 10)


RUN = "B2 C#3 D3 E3 F#3 D3 F#3:2"


def run(orchestra, bar):
    for part, octaves in (("violins", 2), ("violas", 1), ("cellos", 0), ("clarinet", 2),
                          ("bassoon", 0), ("piccolo", 3)):
        melody(orchestra, part, bar, RUN, 100, octaves=octaves, length=0.7)


def coda(orchestra):
    """The theme's first bar against chords of the whole orchestra, then a roll and the last one."""
    orchestra.program("violas", CODA, STRINGS)
    for bar in (74, 76, 78, 80):
        run(orchestra, bar)
        chord = F_SHARP if bar in (76, 80) else B_MINOR
        hit(orchestra, bar + 1, 0, chord)
        hit(orchestra, bar + 1, 2, B_MINOR)
    for bar in (82, 83):
        hit(orchestra, bar, 0, B_MINOR)
        hit(orchestra, bar, 2, F_SHARP)
    for bar in (84, 85):
        for beat in range(4):
            hit(orchestra, bar, beat, F_SHARP if beat % 2 else B_MINOR)
    roll(orchestra)
    hit(orchestra, 87, 3.5, F_SHARP, 0.3, 96)
    hit(orchestra, END, 0, B_MINOR, 3, 100)


def roll(orchestra):
    for step in range(44):
        orchestra.note("timpani", 86, step / 8, 0.12, key("B2"), 52 + 1.4 * step)
    for part, name in (("violas", "B3"), ("cellos", "B2"), ("basses", "B1"), ("horns", "B3")):
        orchestra.note(part, 86, 0, 5.5, key(name), 92)
        orchestra.swell(part, 86, 1.375, 56, 127)


def tracks():
    head = Track("In the Hall of the Mountain King")
    head.text("Edvard Grieg, Peer Gynt, 1875")
    head.key_signature(2, minor=True)
    head.meter(0, 4, 4)
    for bar, beat, tempo in tempi():
        head.tempo((bar - 1) * BAR + beat, tempo)
    for bar, name in ((FIRST, "Alla marcia"), (SECOND, "Poco a poco stringendo"),
                      (THIRD, "Piu vivo"), (CODA, "Stringendo al fine")):
        head.marker((bar - 1) * BAR, name)
    orchestra = Orchestra()
    for section in (opening, first_time, second_time, third_time, coda):
        section(orchestra)
    return [head, *orchestra.tracks.values()]
