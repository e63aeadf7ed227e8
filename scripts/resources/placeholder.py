"""The picture shown for an item that has no thumbnail: a sheet of paper with a folded corner."""

import cairo

SIZE = 256
LEFT, TOP, RIGHT, BOTTOM = 52, 22, 204, 230
CORNER = 46
ROUNDING = 9


def sheet_path(context, inset=0.0):
    left, top, right, bottom = LEFT + inset, TOP + inset, RIGHT - inset, BOTTOM - inset
    radius = ROUNDING - inset
    context.new_path()
    context.move_to(left + radius, top)
    context.line_to(right - CORNER, top)
    context.line_to(right, top + CORNER)
    context.arc(right - radius, bottom - radius, radius, 0, 1.5708)
    context.arc(left + radius, bottom - radius, radius, 1.5708, 3.1416)
    context.arc(left + radius, top + radius, radius, 3.1416, 4.7124)
    context.close_path()


def vertical(top, bottom, *colours):
    gradient = cairo.LinearGradient(0, top, 0, bottom)
    for number, colour in enumerate(colours):
        gradient.add_color_stop_rgba(number / (len(colours) - 1), *colour)
    return gradient


def draw_shadow(context):
    steps = 9
    for step in range(steps):
        context.save()
        context.translate(0, 3.5)
        sheet_path(context)
        context.set_line_width(2 * (steps - step))
        context.set_line_join(cairo.LINE_JOIN_ROUND)
        context.set_source_rgba(0.10, 0.14, 0.22, 0.018)
        context.stroke_preserve()
        context.fill()
        context.restore()


def draw_sheet(context):
    sheet_path(context)
    context.set_source(vertical(TOP, BOTTOM, (1, 1, 1, 1), (0.937, 0.949, 0.965, 1)))
    context.fill_preserve()
    sheet_path(context, 0.75)
    context.set_line_width(1.5)
    context.set_source_rgba(0.63, 0.68, 0.75, 1)
    context.stroke()


def draw_fold(context):
    x, y = RIGHT - CORNER, TOP + CORNER
    context.move_to(x, TOP + 0.5)
    context.line_to(x, y - 8)
    context.curve_to(x, y - 2.5, x + 2.5, y, x + 8, y)
    context.line_to(RIGHT - 0.5, y)
    context.close_path()
    fold = cairo.LinearGradient(x + CORNER / 2, TOP + CORNER / 2, x + 2, y - 2)
    fold.add_color_stop_rgb(0, 0.96, 0.97, 0.98)
    fold.add_color_stop_rgb(1, 0.80, 0.84, 0.89)
    context.set_source(fold)
    context.fill_preserve()
    context.set_line_width(1.5)
    context.set_line_join(cairo.LINE_JOIN_ROUND)
    context.set_source_rgba(0.63, 0.68, 0.75, 1)
    context.stroke()


def draw_lines(context):
    context.set_line_cap(cairo.LINE_CAP_ROUND)
    context.set_line_width(7)
    lines = [(0.46, 0), (1, 2), (1, 3), (0.86, 4), (1, 5.5), (0.62, 6.5)]
    for length, row in lines:
        y = TOP + 46 + row * 20.5
        context.move_to(LEFT + 25, y)
        context.line_to(LEFT + 25 + length * 102, y)
        strong = row == 0
        context.set_source_rgb(*((0.42, 0.58, 0.79) if strong else (0.80, 0.84, 0.89)))
        context.stroke()


def write(path):
    surface = cairo.ImageSurface(cairo.FORMAT_ARGB32, SIZE, SIZE)
    context = cairo.Context(surface)
    draw_shadow(context)
    draw_sheet(context)
    draw_lines(context)
    draw_fold(context)
    surface.write_to_png(str(path))
