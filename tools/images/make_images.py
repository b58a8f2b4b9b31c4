#!/usr/bin/python3
"""Draw Quillmere's images.

Run it without arguments, with a Python that has Pillow (Debian: python3-pil):

    /usr/bin/python3 tools/images/make_images.py [FOLDER]

It writes into FOLDER, by default resources/images:

    AppIcon.png       1024 x 1024  the application icon
    AppIcon.icns                   the same for a Mac application, redrawn for each of its sizes
    icon-info.png      256 x 256   badge of messages
    icon-warning.png   256 x 256   badge of warnings and questions
    loading.gif        128 x 128   one turn of a wait animation, repeated for ever

The same Pillow writes the same bytes at every run. Other sizes of the icon come from
draw_app_icon(size), which redraws the picture for that size instead of scaling it.
"""

import math
import sys
from pathlib import Path

from PIL import Image, ImageDraw, ImageFilter

DEFAULT_FOLDER = Path(__file__).resolve().parents[2] / "resources" / "images"

WHITE = (255, 255, 255)
BLACK = (0, 0, 0)
TEAL = (34, 188, 182)
BLUE = (10, 66, 134)
AZURE = (20, 94, 164)
SHADE = (205, 234, 240)
AMBER = (255, 206, 84)
ORANGE = (240, 134, 26)
INK = (8, 44, 92)


# --- Outlines: lists of points in drawing units -------------------------------------------------


def bezier(start, control1, control2, end, steps=48):
    """Points of a cubic curve, without its first one."""

    def point(t):
        u = 1 - t
        weights = (u * u * u, 3 * u * u * t, 3 * u * t * t, t * t * t)
        corners = (start, control1, control2, end)
        return tuple(sum(w * c[axis] for w, c in zip(weights, corners)) for axis in (0, 1))

    return [point(step / steps) for step in range(1, steps + 1)]


def outline(start, *segments):
    """Follows segments from start: one point is a line, three points are a cubic curve."""
    points = [start]
    for segment in segments:
        points += bezier(points[-1], *segment) if len(segment) == 3 else segment
    return points


def arc(centre, radius, first, last, steps=96):
    """Points of a circle between two angles in degrees, clockwise from three o'clock."""
    angles = (math.radians(first + (last - first) * i / steps) for i in range(steps + 1))
    return [(centre[0] + radius * math.cos(a), centre[1] + radius * math.sin(a)) for a in angles]


def circle(centre, radius):
    return arc(centre, radius, 0, 360)


def ellipse(centre, width, height):
    """Points of an ellipse given by its half axes."""
    return [(centre[0] + x * width, centre[1] + y * height) for x, y in circle((0, 0), 1)]


def rounded_triangle(centre, reach, radius):
    """An upright triangle whose corners are circles of radius, reach away from the centre."""
    points = []
    for angle in (-90, 30, 150):
        corner = arc(centre, reach, angle, angle, steps=1)[0]
        points += arc(corner, radius, angle - 60, angle + 60)
    return points


def pill(centre_x, top, bottom, top_radius, bottom_radius):
    """An upright stroke with round ends, each with its own radius."""
    return (arc((centre_x, top + top_radius), top_radius, 180, 360)
            + arc((centre_x, bottom - bottom_radius), bottom_radius, 0, 180))


def blade(spine, half_width):
    """A stroke along the spine, upright on the whole, that is thin at both ends."""
    widths = [half_width * math.sin(math.pi * i / (len(spine) - 1)) for i in range(len(spine))]
    left = [(x - width, y) for (x, y), width in zip(spine, widths)]
    right = [(x + width, y) for (x, y), width in zip(spine, widths)]
    return left + right[::-1]


def smooth_square(low, high, radius):
    """A square whose corners blend into its sides without a visible start, as macOS icons do."""
    # One corner at the origin, in units of the radius, from the left side to the top one.
    corner = outline((0, 1.528665),
                     ((0, 1.088493), (0, 0.868407), (0.074911, 0.631494)),
                     ((0.169060, 0.372824), (0.372824, 0.169060), (0.631494, 0.074911)),
                     ((0.868407, 0), (1.088493, 0), (1.528665, 0)))
    side = high - low
    points = []
    for _ in range(4):
        points += [(low + x * radius, low + y * radius) for x, y in corner]
        # A quarter turn of the whole square brings the next corner to the origin.
        corner = [(side / radius - y, x) for x, y in corner]
    return points


# --- Painting: coverage masks, drawn large and reduced, through which colours are laid ----------


class Sheet:
    """A transparent square picture on which outlines are painted.

    An outline's point (x, y) lands on the pixel (x, y) * scale + offset.
    """

    def __init__(self, size, scale, offset=0.0):
        self.image = Image.new("RGBA", (size, size), WHITE + (0,))
        self.size = size
        self.scale = scale
        self.offset = offset
        # Pillow's polygons are a pixel too wide, which must stay little even in a tiny picture.
        self.oversampling = max(4, 2048 // size)

    def mask(self, shape, *holes):
        """The coverage of the shape without the holes, 0 to 255 for each pixel."""
        large = self.size * self.oversampling
        mask = Image.new("L", (large, large), 0)
        pen = ImageDraw.Draw(mask)
        pen.polygon(self._enlarged(shape), fill=255)
        for hole in holes:
            pen.polygon(self._enlarged(hole), fill=0)
        # The plain mean of each block: sides that fall between two pixels stay sharp.
        return mask.reduce(self.oversampling)

    def gradient(self, top, bottom, top_colour, bottom_colour):
        """An opaque picture that changes colour from the height top to the height bottom."""
        column = Image.new("RGB", (1, self.size))
        for row in range(self.size):
            height = (row + 0.5 - self.offset) / self.scale
            share = min(max((height - top) / (bottom - top), 0), 1)
            column.putpixel((0, row), blend(top_colour, bottom_colour, share))
        return column.resize(self.image.size)

    def snapped(self, points):
        """The points, each moved to the nearest corner of a pixel."""
        def snap(value):
            return (round(value * self.scale + self.offset) - self.offset) / self.scale

        return [(snap(x), snap(y)) for x, y in points]

    def paint(self, mask, paint, opacity=1.0):
        """Lays a colour or a picture over the sheet wherever the mask covers it."""
        layer = Image.new("RGB", self.image.size, paint) if isinstance(paint, tuple) else paint
        layer = layer.convert("RGBA")
        layer.putalpha(mask.point(lambda value: round(value * opacity)))
        self.image.alpha_composite(layer)

    def paint_shadow(self, mask, drop, blur, opacity):
        """Lays the blurred shadow of what the mask covers, drop units below it."""
        moved = Image.new("L", self.image.size, 0)
        moved.paste(mask, (0, round(drop * self.scale)))
        self.paint(moved.filter(ImageFilter.GaussianBlur(blur * self.scale)), BLACK, opacity)

    def _enlarged(self, points):
        return [tuple((c * self.scale + self.offset) * self.oversampling for c in point)
                for point in points]


def blend(first, second, share):
    return tuple(round(a + (b - a) * share) for a, b in zip(first, second))


# --- The application icon: a quill that is also a download arrow, touching a lake ---------------

# Apple's grid: a body of 824 units in the middle of 1024.
ICON_UNITS = 1024
BODY_LOW, BODY_HIGH, BODY_RADIUS = 100, 924, 185.4
# Up to this size only the bare sign is drawn, fitted to whole pixels.
LARGEST_SMALL_ICON = 32

# The feather with the arrow's head as its nib, clockwise from the tip of the nib.
QUILL = outline(
    (512, 752),
    ((466, 664), (376, 610), (318, 516)),
    ((362, 532), (408, 530), (446, 512)),
    ((404, 424), (424, 276), (606, 180)),
    ((660, 280), (652, 412), (578, 512)),
    ((616, 530), (662, 532), (706, 516)),
    ((648, 610), (558, 664), (512, 752)))
# The feather's middle line, from the nib to its top.
SPINE = outline((512, 752), ((510, 480), (500, 368), (606, 180)))
# The shaft, which ends as the slit of the nib.
SHAFT = blade(SPINE[6:43], 13)
# Where the vane has split.
SPLITS = (
    [(380, 408), (486, 470), (384, 372)],
    [(400, 300), (496, 372), (420, 272)],
    [(672, 372), (546, 430), (670, 338)],
)
# What lies to the right of the shaft.
SHADED_SIDE = SPINE + [(800, 180), (800, 752)]
# The bare sign for small sizes; the straight parts are moved to whole pixels.
SMALL_VANE = outline((450, 500), ((366, 400), (410, 220), (600, 160)),
                     ((654, 260), (640, 400), (574, 500)))
SMALL_HEAD = [(274, 480), (750, 480), (512, 700)]
SMALL_WATER = [(240, 747), (784, 747), (784, 806), (240, 806)]


def icon_sheet(size):
    """A sheet in icon units; the body's sides fall between two pixels at every size."""
    margin = math.floor(BODY_LOW * size / ICON_UNITS)
    scale = (size - 2 * margin) / (BODY_HIGH - BODY_LOW)
    return Sheet(size, scale, margin - BODY_LOW * scale)


def paint_body(sheet):
    body = sheet.mask(smooth_square(BODY_LOW, BODY_HIGH, BODY_RADIUS))
    sheet.paint_shadow(body, drop=12, blur=14, opacity=0.4)
    sheet.paint(body, sheet.gradient(BODY_LOW, BODY_HIGH, TEAL, BLUE))


def paint_ripple(sheet, width, line, opacity):
    """A ring on the water around the tip of the nib, seen from the side."""
    centre, flatness = (512, 742), 0.27
    inner = ellipse(centre, width - line, width * flatness - line * 0.65)
    ring = sheet.mask(ellipse(centre, width, width * flatness), inner)
    sheet.paint(ring, WHITE, opacity)


def paint_quill(sheet):
    quill = sheet.mask(QUILL, SHAFT, *SPLITS)
    sheet.paint_shadow(quill, drop=10, blur=12, opacity=0.22)
    vane = Image.new("RGB", sheet.image.size, WHITE)
    vane.paste(SHADE, mask=sheet.mask(SHADED_SIDE))
    sheet.paint(quill, vane)


def paint_small_sign(sheet):
    sheet.paint(sheet.mask(sheet.snapped(SMALL_WATER)), WHITE, 0.75)
    sheet.paint(sheet.mask(sheet.snapped(SMALL_HEAD)), WHITE)
    sheet.paint(sheet.mask(SMALL_VANE), WHITE)


def draw_app_icon(size):
    """The application icon as a picture of size x size pixels."""
    sheet = icon_sheet(size)
    paint_body(sheet)
    if size <= LARGEST_SMALL_ICON:
        paint_small_sign(sheet)
    else:
        paint_ripple(sheet, 316, 30, 0.42)
        paint_ripple(sheet, 186, 28, 0.7)
        paint_quill(sheet)
    return sheet.image


# The widths in pixels of an icon file's pictures: 128 to 512 points, 16 and 32 points at two
# pixels to the point, and 128 to 512 points at two.
ICNS_PIXELS = (32, 64, 128, 256, 512, 1024)


def save_icns(path):
    """Writes the application icon as PNG pictures, which every macOS since 10.7 reads."""
    sheets = [draw_app_icon(size) for size in ICNS_PIXELS]
    sheets[-1].save(path, append_images=sheets[:-1])


# --- The badges of the message boxes, in the icon's style ---------------------------------------

BADGE_UNITS = 256


def draw_badge(size, shape, colours, sign_colour, sign):
    """A shape in a gradient of two colours, and the outlines of a sign on it."""
    sheet = Sheet(size, size / BADGE_UNITS)
    mask = sheet.mask(shape)
    sheet.paint_shadow(mask, drop=4, blur=4, opacity=0.35)
    sheet.paint(mask, sheet.gradient(12, 240, *colours))
    for part in sign:
        sheet.paint(sheet.mask(part), sign_colour)
    return sheet.image


def draw_info_icon(size):
    """The badge of plain messages: an "i" on a disc."""
    sign = [circle((128, 74), 18), pill(128, 106, 194, 14, 17)]
    return draw_badge(size, circle((128, 125), 113), (TEAL, AZURE), WHITE, sign)


def draw_warning_icon(size):
    """The badge of warnings: an "!" on a triangle."""
    sign = [pill(128, 78, 160, 17, 11), circle((128, 188), 16)]
    shape = rounded_triangle((128, 148), 106, 28)
    return draw_badge(size, shape, (AMBER, ORANGE), INK, sign)


# --- The wait animation: a pen stroke that runs round -------------------------------------------

LOADING_SIZE = 128
LOADING_FRAMES = 33
LOADING_DELAY_MS = 30  # the format counts in hundredths of a second
LOADING_SHADES = 31
STROKE_RADIUS, STROKE_HALF_WIDTH = 46, 10
STROKE_SWEEP = 0.86  # of a turn, from the thin end to the head
# Opaque on light and on dark windows alike, so the thin end fades to a grey between the two.
STROKE_HEAD, STROKE_TAIL = (20, 158, 176), (139, 152, 158)


def stroke_share(radius, turn):
    """How far along the stroke a point lies, 0 at the thin end, 1 at the head; None outside.

    The turn counts clockwise from the thin end, 0 to 1.
    """
    past_head = (turn - STROKE_SWEEP) * 2 * math.pi * STROKE_RADIUS
    off_centre = abs(radius - STROKE_RADIUS)
    if past_head > 0:
        return 1.0 if math.hypot(past_head, off_centre) <= STROKE_HALF_WIDTH else None
    share = turn / STROKE_SWEEP
    return share if off_centre <= STROKE_HALF_WIDTH * share ** 0.8 else None


def draw_loading_frame(start):
    """One frame as colour numbers, 0 where it is transparent; the stroke begins at start turns.

    Each pixel is wholly in or out, as the format knows no partial transparency: no edge carries
    the colour of a background, and showing the frame at half its size smooths the edges.
    """
    frame = Image.new("P", (LOADING_SIZE, LOADING_SIZE), 0)
    pixels = frame.load()
    for y in range(LOADING_SIZE):
        for x in range(LOADING_SIZE):
            dx, dy = x + 0.5 - LOADING_SIZE / 2, y + 0.5 - LOADING_SIZE / 2
            turn = (math.atan2(dy, dx) / (2 * math.pi) - start) % 1
            share = stroke_share(math.hypot(dx, dy), turn)
            if share is not None:
                pixels[x, y] = 1 + round(share * (LOADING_SHADES - 1))
    return frame


def loading_palette():
    """Red, green and blue of colour number 0, which is never seen, and of the stroke's shades."""
    shades = [blend(STROKE_TAIL, STROKE_HEAD, i / (LOADING_SHADES - 1))
              for i in range(LOADING_SHADES)]
    return [value for shade in [STROKE_TAIL] + shades for value in shade]


def save_loading(path):
    frames = [draw_loading_frame(i / LOADING_FRAMES) for i in range(LOADING_FRAMES)]
    for frame in frames:
        frame.putpalette(loading_palette())
    frames[0].save(path, save_all=True, append_images=frames[1:], duration=LOADING_DELAY_MS,
                   loop=0, disposal=2, transparency=0, background=0, optimize=False)


def main(arguments):
    folder = Path(arguments[0]) if arguments else DEFAULT_FOLDER
    folder.mkdir(parents=True, exist_ok=True)
    draw_app_icon(1024).save(folder / "AppIcon.png", optimize=True)
    save_icns(folder / "AppIcon.icns")
    draw_info_icon(256).save(folder / "icon-info.png", optimize=True)
    draw_warning_icon(256).save(folder / "icon-warning.png", optimize=True)
    save_loading(folder / "loading.gif")


if __name__ == "__main__":
    main(sys.argv[1:])
