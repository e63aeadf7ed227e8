"""The books: a drawn cover, and pages set from the text of the same name beside this file."""

import math
from pathlib import Path

import cairo
import gi

gi.require_version("Pango", "1.0")
gi.require_version("PangoCairo", "1.0")
from gi.repository import Pango, PangoCairo

from drawing import ellipse, fill, glow, gradient, polygon, rounded, smooth, stroke

WIDTH, HEIGHT = 396, 594
MARGIN_X, MARGIN_TOP, MARGIN_BOTTOM = 58, 64, 72
TEXTS = Path(__file__).resolve().parent / "text"
FONT = "EB Garamond 12"


def layout_of(context, text, style, size, width, spacing=0):
    layout = PangoCairo.create_layout(context)
    layout.set_font_description(Pango.FontDescription(f"{FONT} {style} {size}px"))
    layout.set_width(int(width * Pango.SCALE))
    if spacing:
        attributes = Pango.AttrList()
        attributes.insert(Pango.attr_letter_spacing_new(int(spacing * Pango.SCALE)))
        layout.set_attributes(attributes)
    layout.set_text(text, -1)
    return layout


def centred(context, text, y, style, size, colour, spacing=0):
    layout = layout_of(context, text, style, size, WIDTH - 60, spacing)
    layout.set_alignment(Pango.Alignment.CENTER)
    context.move_to(30, y)
    fill_text(context, layout, colour)


def fill_text(context, layout, colour):
    context.set_source_rgb(*(int(colour[at : at + 2], 16) / 255 for at in (1, 3, 5)))
    PangoCairo.show_layout(context, layout)


class Pages:
    """Sets paragraphs line by line, and begins a page when one is full."""

    def __init__(self, context):
        self.context = context
        self.number = 1
        self.y = MARGIN_TOP

    def finish(self):
        layout = layout_of(self.context, str(self.number), "", 10, WIDTH)
        layout.set_alignment(Pango.Alignment.CENTER)
        self.context.move_to(0, HEIGHT - MARGIN_BOTTOM + 26)
        fill_text(self.context, layout, "#6b6257")
        self.context.show_page()

    def make_room(self, height):
        if self.y + height <= HEIGHT - MARGIN_BOTTOM:
            return
        self.finish()
        self.number += 1
        self.y = MARGIN_TOP

    def add_heading(self, text):
        self.make_room(110)
        self.y += 34 if self.y > MARGIN_TOP else 18
        layout = layout_of(self.context, text, "Italic", 19, WIDTH - 2 * MARGIN_X)
        self.context.move_to(MARGIN_X, self.y)
        fill_text(self.context, layout, "#7c2d2d")
        self.y += 36

    def add_paragraph(self, text, is_first):
        layout = layout_of(self.context, text, "", 12.6, WIDTH - 2 * MARGIN_X)
        layout.set_justify(True)
        layout.set_indent(0 if is_first else 16 * Pango.SCALE)
        lines = layout.get_iter()
        while True:
            self.make_room(17)
            left = lines.get_line_extents()[1].x / Pango.SCALE
            self.context.move_to(MARGIN_X + left, self.y + 13)
            self.context.set_source_rgb(0.12, 0.11, 0.10)
            PangoCairo.show_layout_line(self.context, lines.get_line_readonly())
            self.y += 17
            if not lines.next_line():
                return


def set_text(context, text):
    pages = Pages(context)
    is_first = True
    for paragraph in text.strip().split("\n\n"):
        is_heading = paragraph.startswith("# ")
        if is_heading:
            pages.add_heading(paragraph[2:])
        else:
            pages.add_paragraph(paragraph, is_first)
        is_first = is_heading
    pages.finish()


def draw_view_cover(context):
    context.rectangle(0, 0, WIDTH, HEIGHT)
    fill(context, "#f3e6cf")
    x, y, width, height = 78, 176, 240, 320
    rounded(context, x - 14, y - 14, width + 28, height + 28, 4)
    fill(context, "#b5573c")
    context.save()
    context.rectangle(x, y, width, height)
    context.clip()
    context.paint()
    context.rectangle(x, y, width, height)
    fill(context, gradient((0, y), (0, y + height), "#7fb6d5", "#f9dfb0"))
    ellipse(context, 248, 286, 26, 26)
    fill(context, "#fff4cf")
    hills = [("#a9b98a", 340, 0), ("#879f64", 378, 2), ("#66824b", 420, 4), ("#486338", 462, 5.2)]
    for colour, base, phase in hills:
        points = [(at, base + 16 * math.sin(at / 46 + phase)) for at in range(40, 381, 20)]
        smooth(context, points, closed=False)
        context.line_to(400, 620)
        context.line_to(0, 620)
        fill(context, colour)
    for at, ground, tall in ((112, 432, 74), (132, 440, 56), (276, 418, 66), (296, 424, 50)):
        smooth(context, [(at, ground - tall), (at + 8, ground - 14), (at, ground), (at - 8, ground - 14)])
        fill(context, "#2f4a2e")
    context.rectangle(196, 404, 34, 22)
    fill(context, "#f2d6a8")
    polygon(context, (191, 405), (213, 391), (235, 405))
    fill(context, "#c0603f")
    context.restore()
    for cross in ((x + width / 2, y, x + width / 2, y + height), (x, y + 118, x + width, y + 118)):
        context.move_to(*cross[:2])
        context.line_to(*cross[2:])
        stroke(context, "#b5573c", 8)
    for side in (0, 1):
        left = 16 if side == 0 else WIDTH - 62
        context.rectangle(left, y - 14, 46, height + 28)
        fill(context, "#3f6b68")
        for slat in range(17):
            context.rectangle(left + 6, y - 4 + slat * 19, 34, 8)
            fill(context, "#2f5451")
    context.rectangle(50, y + height + 14, WIDTH - 100, 14)
    fill(context, "#8f402b")
    centred(context, "A Room\nwith a View", 44, "", 44, "#7a2f22")
    centred(context, "AND WHAT CAME IN BY IT", 540, "", 13, "#7a2f22", 3)


def draw_crown(context, x, y, size):
    context.save()
    context.translate(x, y)
    context.scale(size, size)
    gold = gradient((0, -1), (0, 0.6), "#f8e3a0", "#c8923a")
    polygon(context, (-1, 0.42), (-1.18, -0.42), (-0.58, 0.02), (0, -0.78), (0.58, 0.02), (1.18, -0.42), (1, 0.42))
    fill(context, gold)
    rounded(context, -1.0, 0.48, 2.0, 0.2, 0.06)
    fill(context, gold)
    for at, high in ((-1.18, -0.5), (0, -0.88), (1.18, -0.5)):
        ellipse(context, at, high, 0.12, 0.12)
        fill(context, "#f3d98c")
    for at, colour in ((-0.55, "#3f8f86"), (0, "#b3324a"), (0.55, "#3f8f86")):
        ellipse(context, at, 0.24, 0.1, 0.12)
        fill(context, colour)
    context.restore()


def draw_prince_cover(context):
    context.rectangle(0, 0, WIDTH, HEIGHT)
    fill(context, gradient((0, 0), (0, HEIGHT), "#7d1f2f", "#4a0f1f"))
    for y in range(13):
        for x in range(10):
            at, down = x * 44 + (y % 2) * 22, y * 48 + 10
            polygon(context, (at, down - 13), (at + 9, down), (at, down + 13), (at - 9, down))
            fill(context, "#ffffff", 0.035)
    for inset, width in ((20, 2.2), (27, 0.8)):
        rounded(context, inset, inset, WIDTH - 2 * inset, HEIGHT - 2 * inset, 6)
        stroke(context, "#d9ac58", width)
    context.rectangle(0, 0, WIDTH, HEIGHT)
    fill(context, glow((198, 250), 190, ("#ffdf9a", 0.28), ("#ffdf9a", 0)))
    draw_crown(context, 198, 252, 82)
    centred(context, "The Prince", 350, "", 56, "#f4dca0")
    for side in (-1, 1):
        context.move_to(198 + side * 12, 446)
        context.line_to(198 + side * 96, 446)
        stroke(context, "#d9ac58", 1)
    polygon(context, (198, 439), (205, 446), (198, 453), (191, 446))
    fill(context, "#d9ac58")
    centred(context, "or how a small realm is kept", 464, "Italic", 19, "#ecd2a0")


def draw_philosophy_cover(context):
    context.rectangle(0, 0, WIDTH, HEIGHT)
    fill(context, gradient((0, 0), (0, HEIGHT), "#17263f", "#274a63"))
    for ring in range(9):
        ellipse(context, 198, 330, 44 + ring * 27, 44 + ring * 27)
        stroke(context, "#f2c879", 1.1, 0.5 - ring * 0.05)
    context.rectangle(0, 0, WIDTH, HEIGHT)
    fill(context, glow((198, 330), 170, ("#ffe6b0", 0.5), ("#ffe6b0", 0)))
    context.rectangle(0, 418, WIDTH, HEIGHT)
    fill(context, gradient((0, 418), (0, HEIGHT), "#b77b48", "#7d4c2c"))
    ellipse(context, 214, 436, 104, 13)
    fill(context, "#3b2115", 0.4)
    ellipse(context, 198, 430, 92, 13)
    fill(context, "#dfe6ea")
    context.new_path()
    context.arc(256, 348, 24, -1.5, 1.75)
    stroke(context, "#e9eef1", 9)
    smooth(context, [(128, 306), (136, 372), (166, 424), (230, 424), (260, 372), (268, 306)])
    fill(context, gradient((128, 0), (268, 0), "#9fb4c6", "#ffffff", "#f6e3bb"))
    ellipse(context, 198, 307, 70, 15)
    fill(context, "#f7f9fa")
    ellipse(context, 198, 310, 61, 11)
    fill(context, "#a5622e")
    for number, at in enumerate((172, 198, 224)):
        context.move_to(at, 284)
        context.curve_to(at - 18, 262, at + 18, 244, at - 2, 214 - 10 * (number == 1))
        stroke(context, "#ffffff", 4, 0.35)
    centred(context, "The Problems\nof Philosophy", 48, "", 42, "#f6e3bb")
    centred(context, "and a cup of tea", 520, "Italic", 21, "#f6e3bb")


def write_book(path, draw_cover):
    surface = cairo.PDFSurface(str(path), WIDTH, HEIGHT)
    surface.set_metadata(cairo.PDFMetadata.TITLE, path.stem.replace("-", " "))
    surface.set_metadata(cairo.PDFMetadata.CREATE_DATE, "2024-01-01T00:00:00Z")
    context = cairo.Context(surface)
    draw_cover(context)
    context.show_page()
    set_text(context, (TEXTS / f"{path.stem}.txt").read_text())
    surface.finish()


def write_view(path):
    write_book(path, draw_view_cover)


def write_prince(path):
    write_book(path, draw_prince_cover)


def write_philosophy(path):
    write_book(path, draw_philosophy_cover)
