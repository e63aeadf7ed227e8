"""What the pictures and the covers are drawn with: colours, gradients, shapes and soft shadows."""

import io
import math

import cairo
from PIL import Image


def rgb(code):
    return tuple(int(code[at : at + 2], 16) / 255 for at in (1, 3, 5))


def mixed(one, other, part):
    return tuple(a + (b - a) * part for a, b in zip(one, other))


def gradient(start, end, *colours):
    """A linear gradient between two points; a colour is a code, or a code and an opacity."""
    return with_stops(cairo.LinearGradient(*start, *end), colours)


def glow(centre, radius, *colours):
    return with_stops(cairo.RadialGradient(*centre, 0, *centre, radius), colours)


def with_stops(pattern, colours):
    for number, colour in enumerate(colours):
        code, opacity = colour if isinstance(colour, tuple) else (colour, 1)
        pattern.add_color_stop_rgba(number / (len(colours) - 1), *rgb(code), opacity)
    return pattern


def fill(context, colour, opacity=1.0):
    """Fills the path with a colour code or a pattern."""
    if isinstance(colour, str):
        context.set_source_rgba(*rgb(colour), opacity)
    else:
        context.set_source(colour)
    context.fill()


def stroke(context, colour, width, opacity=1.0):
    context.set_source_rgba(*rgb(colour), opacity)
    context.set_line_width(width)
    context.set_line_cap(cairo.LINE_CAP_ROUND)
    context.set_line_join(cairo.LINE_JOIN_ROUND)
    context.stroke()


def polygon(context, *points):
    context.new_path()
    for point in points:
        context.line_to(*point)
    context.close_path()


def ellipse(context, x, y, width, height, angle=0.0):
    context.save()
    context.translate(x, y)
    context.rotate(angle)
    context.scale(width, height)
    context.new_path()
    context.arc(0, 0, 1, 0, math.tau)
    context.restore()


def rounded(context, x, y, width, height, radius):
    context.new_path()
    for turn, (cx, cy) in enumerate(
        [
            (x + width - radius, y + height - radius),
            (x + radius, y + height - radius),
            (x + radius, y + radius),
            (x + width - radius, y + radius),
        ]
    ):
        context.arc(cx, cy, radius, turn * math.pi / 2, (turn + 1) * math.pi / 2)
    context.close_path()


def smooth(context, points, closed=True):
    """A curve through all points."""
    count = len(points)

    def at(index):
        return points[index % count] if closed else points[max(0, min(count - 1, index))]

    context.new_path()
    context.move_to(*points[0])
    for index in range(count if closed else count - 1):
        before, start, end, after = (at(index + step) for step in (-1, 0, 1, 2))
        context.curve_to(
            start[0] + (end[0] - before[0]) / 6,
            start[1] + (end[1] - before[1]) / 6,
            end[0] - (after[0] - start[0]) / 6,
            end[1] - (after[1] - start[1]) / 6,
            *end,
        )
    if closed:
        context.close_path()


def shadow(context, reach, offset=(0.0, 0.0), opacity=0.3, colour="#101828"):
    """A soft shadow around the path, which it keeps."""
    path = context.copy_path()
    context.save()
    context.translate(*offset)
    context.new_path()
    context.append_path(path)
    steps = 12
    for step in range(steps):
        context.set_source_rgba(*rgb(colour), opacity / steps)
        context.set_line_width(2 * reach * (1 - step / steps))
        context.set_line_join(cairo.LINE_JOIN_ROUND)
        context.stroke_preserve()
    context.restore()
    context.new_path()
    context.append_path(path)


def write_jpeg(path, width, height, draw, quality=84):
    """Draws a picture of that many pixels. `draw` is given a context of that size."""
    surface = cairo.ImageSurface(cairo.FORMAT_RGB24, width, height)
    draw(cairo.Context(surface))
    png = io.BytesIO()
    surface.write_to_png(png)
    picture = Image.open(png).convert("RGB")
    picture.save(path, quality=quality, optimize=True, progressive=True)
