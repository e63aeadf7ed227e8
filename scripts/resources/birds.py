"""birds.jpg: two birds on a branch at dusk, and a flock that passes the sun."""

import math
import random

from drawing import ellipse, fill, glow, gradient, polygon, smooth, stroke, write_jpeg

WIDTH, HEIGHT = 1280, 960


def draw_sky(context):
    context.paint()
    context.rectangle(0, 0, WIDTH, HEIGHT)
    sky = ("#27335f", "#4c4a80", "#8f5f8f", "#dd7f80", "#f7b184", "#fde0ae")
    fill(context, gradient((0, 0), (0, HEIGHT * 0.8), *sky))
    sun = (820, 560)
    context.rectangle(0, 0, WIDTH, HEIGHT)
    fill(context, glow(sun, 520, ("#fff1c4", 0.75), ("#ffd9a0", 0.25), ("#ffd9a0", 0)))
    ellipse(context, *sun, 92, 92)
    fill(context, "#fff6da")


def draw_hills(context, chance):
    layers = [("#b8748c", "#e8a08c"), ("#87588a", "#c07f8f"), ("#574379", "#8d5f87"), ("#2c2a55", "#54406f")]
    for number, (top, bottom) in enumerate(layers):
        base = 610 + number * 78
        waves = [(chance.uniform(0.7, 1.4) * 2**k, chance.uniform(0, math.tau)) for k in range(5)]
        context.move_to(0, HEIGHT)
        for x in range(0, WIDTH + 8, 8):
            rise = sum(math.sin(x / WIDTH * math.tau * f + p) / f for f, p in waves)
            context.line_to(x, base - 46 * rise)
        context.line_to(WIDTH, HEIGHT)
        context.close_path()
        fill(context, gradient((0, base - 70), (0, base + 170), top, bottom))


def draw_flying(context, x, y, span, beat, tilt):
    """A bird in flight: two wings that bend where the beat has them."""
    context.save()
    context.translate(x, y)
    context.rotate(tilt)
    context.scale(span, span)
    context.move_to(-1, -0.34 * beat)
    context.curve_to(-0.62, -0.62 * beat, -0.22, -0.30, 0, 0.02)
    context.curve_to(0.22, -0.30, 0.62, -0.62 * beat, 1, -0.34 * beat)
    context.curve_to(0.62, -0.44 * beat, 0.26, -0.10, 0.06, 0.17)
    context.curve_to(0.02, 0.22, -0.02, 0.22, -0.06, 0.17)
    context.curve_to(-0.26, -0.10, -0.62, -0.44 * beat, -1, -0.34 * beat)
    context.restore()
    fill(context, "#2b2850")


def draw_flock(context, chance):
    for number in range(17):
        side = 1 if number % 2 else -1
        rank = (number + 1) // 2
        x = 700 + rank * 42 + (side > 0) * rank * 6 + chance.uniform(-9, 9)
        y = 236 + side * rank * (21 if side > 0 else 14) + rank * 9 + chance.uniform(-8, 8)
        draw_flying(context, x, y, 29 - rank * 1.1, chance.uniform(0.5, 1.1), chance.uniform(-0.2, 0.1))


def draw_leaf(context, x, y, length, angle, colour):
    context.save()
    context.translate(x, y)
    context.rotate(angle)
    context.move_to(0, 0)
    context.curve_to(length * 0.3, -length * 0.36, length * 0.8, -length * 0.26, length, 0)
    context.curve_to(length * 0.8, length * 0.26, length * 0.3, length * 0.36, 0, 0)
    fill(context, colour)
    context.move_to(0, 0)
    context.line_to(length * 0.9, 0)
    stroke(context, "#1a1d3c", 1.6, 0.45)
    context.restore()


def branch_height(x):
    return 716 + 34 * math.sin(x / 240) - x * 0.055


def draw_branch(context, chance):
    for number in range(15):
        x = 40 + number * 49
        upward = number % 2 == 0
        angle = (-0.9 if upward else 0.75) + chance.uniform(-0.25, 0.25)
        colour = chance.choice(["#35506b", "#2b4560", "#466a74", "#7b5a72"])
        if 175 < x < 590 and upward:
            continue
        draw_leaf(context, x, branch_height(x), chance.uniform(50, 74), angle, colour)
    upper = [(x, branch_height(x) - 15 * (1 - x / 860)) for x in range(-40, 821, 40)]
    lower = [(x, branch_height(x) + 15 * (1 - x / 860)) for x in range(820, -41, -40)]
    polygon(context, *upper, *lower)
    fill(context, gradient((0, 690), (0, 745), "#3d3350", "#1f1c38"))
    draw_leaf(context, 812, branch_height(812), 66, -0.2, "#466a74")


def draw_legs(context):
    for x in (-0.22, 0.12):
        context.move_to(x, 0.8)
        context.line_to(x + 0.04, 1.22)
        stroke(context, "#2a2440", 0.075)


def draw_body(context, back, breast):
    polygon(context, (-0.75, 0.0), (-2.05, 0.78), (-1.88, 1.08), (-0.35, 0.72))
    fill(context, "#2a2f52")
    outline = [(0.98, -0.52), (0.72, -1.02), (0.22, -1.14), (-0.32, -0.72), (-0.98, 0.06), (-0.82, 0.66),
               (-0.1, 0.98), (0.62, 0.82), (1.0, 0.28)]
    smooth(context, outline)
    context.save()
    context.clip_preserve()
    fill(context, gradient((0, -1.1), (0, 1), *back))
    ellipse(context, 0.92, 0.28, 0.78, 0.92, -0.25)
    fill(context, gradient((0.3, -0.6), (0.9, 0.9), *breast))
    context.restore()


def draw_sitting(context, x, size, facing, back, breast):
    """A bird on the branch; its feet are at `x`."""
    context.save()
    context.translate(x, branch_height(x) - 1.19 * size)
    context.scale(size * facing, size)
    draw_legs(context)
    polygon(context, (0.92, -0.72), (1.36, -0.5), (0.96, -0.38))
    fill(context, "#e9a23b")
    draw_body(context, back, breast)
    smooth(context, [(0.08, -0.32), (-0.55, -0.14), (-1.5, 0.62), (-0.75, 0.66), (-0.02, 0.36)])
    fill(context, gradient((0, -0.4), (-1.2, 0.7), "#3e4f86", "#232a52"))
    ellipse(context, 0.6, -0.68, 0.115, 0.115)
    fill(context, "#15152b")
    ellipse(context, 0.64, -0.72, 0.04, 0.04)
    fill(context, "#ffffff")
    context.restore()


def draw(context):
    chance = random.Random(7)
    draw_sky(context)
    draw_flock(context, chance)
    draw_hills(context, chance)
    draw_branch(context, chance)
    draw_sitting(context, 262, 86, 1, ("#5a76b8", "#3a4b85"), ("#f6a06a", "#f7d2a4"))
    draw_sitting(context, 508, 76, -1, ("#7f6bb0", "#51487f"), ("#f3c27a", "#fbe6c2"))


def write(path):
    write_jpeg(path, WIDTH, HEIGHT, draw)
