"""foxies.jpg and posing.jpg: two foxes in the snow, and a cat that has its picture taken."""

import random

from drawing import ellipse, fill, glow, gradient, polygon, rounded, shadow, smooth, stroke, write_jpeg


def mirrored(draw):
    """Draws the right half of something upright, and the left one."""

    def both(context, *arguments):
        for side in (1, -1):
            context.save()
            context.scale(side, 1)
            draw(context, *arguments)
            context.restore()

    return both


@mirrored
def draw_ear(context, outer, inner, width):
    smooth(context, [(0.12, -0.55), (0.5 + width, -1.42), (0.72 + width, -1.3), (0.92, -0.2)])
    fill(context, outer)
    smooth(context, [(0.36, -0.62), (0.53 + width, -1.16), (0.63 + width, -1.08), (0.76, -0.45)])
    fill(context, inner)


@mirrored
def draw_sleeping_eye(context):
    context.new_path()
    context.arc(0.42, -0.12, 0.15, 0.35, 2.8)
    stroke(context, "#2b1d2c", 0.055)


@mirrored
def draw_open_eye(context, iris):
    ellipse(context, 0.42, -0.1, 0.2, 0.23)
    fill(context, iris)
    ellipse(context, 0.41, -0.1, 0.1, 0.21)
    fill(context, "#17131f")
    ellipse(context, 0.47, -0.19, 0.055, 0.055)
    fill(context, "#ffffff")


@mirrored
def draw_whiskers(context):
    for end, bend in ((0.18, 0.2), (0.36, 0.34), (0.52, 0.48)):
        context.move_to(0.34, bend + 0.08)
        context.curve_to(0.7, bend, 1.0, end, 1.24, end + 0.04)
        stroke(context, "#ffffff", 0.018, 0.85)


@mirrored
def draw_cheek(context, colour):
    smooth(context, [(0, 0.8), (0, 0.12), (0.34, 0.22), (0.7, 0.04), (1.16, 0.08), (0.88, 0.48), (0.4, 0.76)])
    fill(context, colour)


def draw_fox(context, x, ground, size, is_awake):
    context.save()
    context.translate(x, ground)
    context.scale(size, size)
    ellipse(context, 0.25, 0.02, 1.7, 0.16)
    fill(context, "#5b7396", 0.35)
    fur = gradient((0, -2.6), (0, 0), "#f58a3c", "#d9632b")
    smooth(context, [(0.3, -0.1), (1.2, -0.02), (1.86, -0.5), (1.78, -1.24), (1.5, -1.52), (1.3, -1.0), (0.72, -0.72)])
    fill(context, fur)
    smooth(context, [(1.76, -1.0), (1.84, -1.26), (1.5, -1.62), (1.34, -1.08), (1.54, -1.14)])
    fill(context, "#fff7ee")
    smooth(context, [(0, -2.0), (0.58, -1.5), (0.86, -0.5), (0.6, 0), (-0.6, 0), (-0.86, -0.5), (-0.58, -1.5)])
    fill(context, fur)
    smooth(context, [(0, -1.55), (0.4, -1.2), (0.36, -0.62), (0, -0.4), (-0.36, -0.62), (-0.4, -1.2)])
    fill(context, "#fff3e4")
    for side in (-0.27, 0.27):
        ellipse(context, side, -0.1, 0.24, 0.16)
        fill(context, "#4a2b2a")
    context.translate(0, -2.02)
    draw_ear(context, "#e0702f", "#4a2b2a", 0.06)
    smooth(context, [(0, -0.78), (0.62, -0.6), (0.98, -0.1), (1.1, 0.12), (0.5, 0.62), (0, 0.88), (-0.5, 0.62),
                     (-1.1, 0.12), (-0.98, -0.1), (-0.62, -0.6)])
    fill(context, gradient((0, -0.8), (0, 0.8), "#f99a4a", "#ee7a34"))
    draw_cheek(context, "#fff7ee")
    if is_awake:
        draw_open_eye(context, "#3b2430")
    else:
        draw_sleeping_eye(context)
    ellipse(context, 0, 0.72, 0.15, 0.11)
    fill(context, "#2b1d2c")
    context.restore()


def draw_pine(context, x, ground, height, colour):
    for layer in range(4):
        top = ground - height * (1 - layer * 0.2)
        half = height * (0.13 + layer * 0.052)
        smooth(context, [(x, top), (x + half, top + height * 0.36), (x, top + height * 0.31), (x - half, top + height * 0.36)])
        fill(context, colour)
        polygon(context, (x, top + height * 0.01), (x + half * 0.5, top + height * 0.15), (x, top + height * 0.11),
                (x - half * 0.5, top + height * 0.15))
        fill(context, "#ffffff", 0.55)


def draw_foxes(context):
    chance = random.Random(11)
    context.rectangle(0, 0, 1280, 960)
    fill(context, gradient((0, 0), (0, 720), "#3b6ea5", "#8fb8d8", "#f2dfd3"))
    ellipse(context, 980, 210, 84, 84)
    fill(context, "#fff8e8", 0.95)
    for colour, base, count in (("#7fa3bf", 600, 15), ("#4d7d93", 650, 11), ("#2d5c70", 705, 8)):
        for number in range(count):
            x = (number + chance.uniform(0.1, 0.9)) * 1280 / count
            draw_pine(context, x, base + 20, chance.uniform(210, 330), colour)
        context.rectangle(0, base, 1280, 400)
        fill(context, gradient((0, base), (0, 960), "#dbe8f3", "#f7fbff"))
    smooth(context, [(-60, 1000), (-60, 770), (320, 720), (760, 760), (1340, 700), (1340, 1000)])
    fill(context, gradient((0, 710), (0, 960), "#ffffff", "#d5e4f1"))
    draw_fox(context, 470, 872, 172, True)
    draw_fox(context, 905, 890, 118, False)
    for _ in range(150):
        radius = chance.uniform(1.5, 5.5)
        ellipse(context, chance.uniform(0, 1280), chance.uniform(0, 960), radius, radius)
        fill(context, "#ffffff", chance.uniform(0.5, 0.95))


def draw_cat(context):
    fur = gradient((0, -3), (0, 0.4), "#7c8799", "#4c5569")
    smooth(context, [(0.5, 0.1), (1.5, 0.3), (2.0, -0.3), (1.75, -1.1), (1.95, -1.5), (1.55, -1.5), (1.42, -0.9),
                     (1.55, -0.35), (1.2, -0.15)])
    fill(context, fur)
    smooth(context, [(0, -2.0), (0.66, -1.5), (1.0, -0.5), (0.74, 0.12), (-0.74, 0.12), (-1.0, -0.5), (-0.66, -1.5)])
    fill(context, fur)
    smooth(context, [(0, -1.6), (0.4, -1.2), (0.34, -0.5), (0, -0.25), (-0.34, -0.5), (-0.4, -1.2)])
    fill(context, "#eef1f6")
    for side in (-0.3, 0.3):
        ellipse(context, side, 0.06, 0.27, 0.18)
        fill(context, "#f4f6fa")
    context.translate(0, -2.1)
    draw_ear(context, "#667185", "#e9a5ab", 0.0)
    smooth(context, [(0, -0.84), (0.66, -0.62), (1.0, -0.1), (0.9, 0.42), (0.4, 0.74), (0, 0.8), (-0.4, 0.74),
                     (-0.9, 0.42), (-1.0, -0.1), (-0.66, -0.62)])
    fill(context, gradient((0, -0.8), (0, 0.8), "#8792a5", "#6a7589"))
    for x, length in ((-0.2, 0.24), (0, 0.32), (0.2, 0.24)):
        context.move_to(x, -0.76 + abs(x) * 0.2)
        context.line_to(x * 0.75, -0.76 + length)
        stroke(context, "#475065", 0.07)
    smooth(context, [(0, 0.12), (0.3, 0.3), (0.5, 0.52), (0.26, 0.74), (0, 0.78), (-0.26, 0.74), (-0.5, 0.52), (-0.3, 0.3)])
    fill(context, "#f4f6fa")
    draw_open_eye(context, "#8fd16a")
    draw_whiskers(context)
    smooth(context, [(-0.11, 0.3), (0.11, 0.3), (0, 0.42)])
    fill(context, "#e58f98")
    for side in (1, -1):
        context.move_to(0, 0.42)
        context.curve_to(0, 0.58, side * 0.16, 0.6, side * 0.22, 0.52)
        stroke(context, "#475065", 0.035)


@mirrored
def draw_bow(context):
    smooth(context, [(0, 0), (0.42, -0.26), (0.56, 0), (0.42, 0.26)])
    fill(context, gradient((0, -0.25), (0, 0.25), "#f0565f", "#b92d45"))


def draw_viewfinder(context):
    """The frame that a camera shows, and the square in which it has found a face."""
    for x, y, right, down in ((70, 70, 1, 1), (890, 70, -1, 1), (70, 1210, 1, -1), (890, 1210, -1, -1)):
        context.move_to(x, y + 80 * down)
        context.line_to(x, y)
        context.line_to(x + 80 * right, y)
        stroke(context, "#ffffff", 6, 0.9)
    rounded(context, 262, 336, 436, 430, 16)
    stroke(context, "#ffe14d", 4, 0.9)
    ellipse(context, 840, 122, 11, 11)
    fill(context, "#ff4d4d")


def draw_portrait(context):
    context.rectangle(0, 0, 960, 1280)
    fill(context, gradient((0, 0), (0, 1280), "#2c7a7b", "#1b4b5a"))
    for number in range(12):
        context.rectangle(number * 80, 0, 80, 1280)
        fill(context, gradient((number * 80, 0), (number * 80 + 80, 0), ("#0e2f3d", 0.34), ("#ffffff", 0.05), ("#0e2f3d", 0.34)))
    context.rectangle(0, 0, 960, 1280)
    fill(context, glow((480, 560), 640, ("#fff3cf", 0.62), ("#fff3cf", 0.16), ("#fff3cf", 0)))
    context.rectangle(0, 1090, 960, 190)
    fill(context, gradient((0, 1090), (0, 1280), "#7a4b32", "#4f2f24"))
    rounded(context, 200, 1010, 560, 210, 38)
    shadow(context, 26, (0, 22), 0.5)
    fill(context, gradient((0, 1010), (0, 1220), "#e8b04c", "#b5702c"))
    ellipse(context, 480, 1012, 280, 44)
    fill(context, "#f3cd7b")
    context.save()
    context.translate(480, 1000)
    context.scale(178, 178)
    context.save()
    draw_cat(context)
    context.restore()
    context.translate(0, -1.2)
    draw_bow(context)
    ellipse(context, 0, 0, 0.12, 0.15)
    fill(context, "#8f2138")
    context.restore()
    draw_viewfinder(context)


def write_foxes(path):
    write_jpeg(path, 1280, 960, draw_foxes)


def write_portrait(path):
    write_jpeg(path, 960, 1280, draw_portrait)
