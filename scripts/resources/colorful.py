"""colorful.jpg: layers of coloured paper, cut in waves and laid upon each other."""

import math
import random

from drawing import fill, glow, mixed, rgb, shadow, smooth, write_jpeg

WIDTH, HEIGHT = 1280, 960
CENTRE = (690, 450)
COLOURS = ["#1d3a8a", "#2563c9", "#1aa3c4", "#1fb58f", "#7ccb4f", "#f4d03f", "#f79a34", "#ef5d4c",
           "#d9417f", "#8e3fb0", "#4b2f8f"]


def code(colour):
    return "#" + "".join(f"{round(255 * part):02x}" for part in colour)


def ring(radius, waves):
    points = []
    for step in range(90):
        angle = step / 90 * math.tau
        swing = sum(size * math.sin(count * angle + phase) for count, size, phase in waves)
        length = radius * (1 + swing)
        points.append((CENTRE[0] + 1.28 * length * math.cos(angle), CENTRE[1] + length * math.sin(angle)))
    return points


def draw(context):
    chance = random.Random(23)
    context.rectangle(0, 0, WIDTH, HEIGHT)
    fill(context, "#152a66")
    waves = [[count, 0.0, chance.uniform(0, math.tau)] for count in (2, 3, 5, 7)]
    for number, colour in enumerate(COLOURS):
        radius = 690 * (1 - number / len(COLOURS)) ** 1.15 + 16
        for wave in waves:
            wave[1] = 0.26 / wave[0] * chance.uniform(0.55, 1.05)
            wave[2] += chance.uniform(-0.5, 0.8)
        smooth(context, ring(radius, waves))
        shadow(context, 20, (5, 9), 0.42, "#0b1030")
        light = code(mixed(rgb(colour), (1, 1, 1), 0.22))
        dark = code(mixed(rgb(colour), rgb("#0b1030"), 0.10))
        fill(context, glow((CENTRE[0] - radius * 0.8, CENTRE[1] - radius * 0.9), radius * 2.4, light, colour, dark))


def write(path):
    write_jpeg(path, WIDTH, HEIGHT, draw)
