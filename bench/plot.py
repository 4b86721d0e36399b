"""Curves on two logarithmic axes as SVG, by the standard library alone."""
import math
from xml.sax.saxutils import escape

WIDTH, HEIGHT = 720, 460
LEFT, RIGHT, TOP, BOTTOM = 86, 190, 44, 58  # margins; names of the curves stand on the right
COLOURS = ("#1b5e9e", "#b3441e", "#2e7d32", "#6a3d9a", "#7a5c00")
FONT = 'font-family="DejaVu Sans, Helvetica, Arial, sans-serif"'
NAME_GAP = 30  # between the names of two curves


def number(value):
    """1, 20, 5,000, 3 M: short enough for an axis."""
    for size, letter in ((1e9, " G"), (1e6, " M")):
        if value >= size:
            return f"{value / size:g}{letter}"
    return f"{value:,.0f}" if value >= 1 else f"{value:g}"


def ticks(low, high):
    """1, 2, 5 times powers of ten within the range; powers of ten alone where that makes too many."""
    decades = range(math.floor(math.log10(low)), math.ceil(math.log10(high)) + 1)
    fine = [m * 10.0**d for d in decades for m in (1, 2, 5) if low <= m * 10.0**d <= high]
    return fine if len(fine) <= 8 else [10.0**d for d in decades if low <= 10.0**d <= high]


def exponent(points):
    """Slope of ln y over ln x by least squares."""
    xs, ys = [math.log(x) for x, _ in points], [math.log(y) for _, y in points]
    mean_x, mean_y = sum(xs) / len(xs), sum(ys) / len(ys)
    return (sum((x - mean_x) * (y - mean_y) for x, y in zip(xs, ys)) / sum((x - mean_x) ** 2 for x in xs))


class Axis:
    """From the logarithm of a range to pixels."""

    def __init__(self, values, first, last):
        low, high = min(values), max(values)
        self.low, self.high = low / 1.15, high * 1.15
        self.first, self.last = first, last

    def at(self, value):
        share = math.log(value / self.low) / math.log(self.high / self.low)
        return self.first + share * (self.last - self.first)

    def ticks(self):
        return ticks(self.low, self.high)


def text(x, y, words, anchor="middle", size=13, more=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" font-size="{size}" text-anchor="{anchor}" {FONT} {more}>{escape(words)}</text>'


def grid(across, up, x_title, y_title):
    bottom, right = HEIGHT - BOTTOM, WIDTH - RIGHT
    lines = []
    for tick in across.ticks():
        x = across.at(tick)
        lines.append(f'<line x1="{x:.1f}" y1="{TOP}" x2="{x:.1f}" y2="{bottom}" stroke="#dddddd"/>')
        lines.append(text(x, bottom + 18, number(tick)))
    for tick in up.ticks():
        y = up.at(tick)
        lines.append(f'<line x1="{LEFT}" y1="{y:.1f}" x2="{right}" y2="{y:.1f}" stroke="#dddddd"/>')
        lines.append(text(LEFT - 8, y + 4.5, number(tick), "end"))
    lines.append(f'<rect x="{LEFT}" y="{TOP}" width="{right - LEFT}" height="{bottom - TOP}" fill="none" stroke="#444444"/>')
    lines.append(text((LEFT + right) / 2, HEIGHT - 14, x_title, size=14))
    middle = (TOP + bottom) / 2
    lines.append(text(20, middle, y_title, size=14, more=f'transform="rotate(-90 20 {middle:.1f})"'))
    return lines


def name_heights(wanted):
    """Heights near those wanted, none nearer to another than the names need."""
    heights = {}
    last = -math.inf
    for index in sorted(range(len(wanted)), key=wanted.__getitem__):
        last = heights[index] = max(wanted[index], last + NAME_GAP)
    overflow = max(0.0, last - (HEIGHT - BOTTOM - 18)) if heights else 0.0
    return [heights[index] - overflow for index in range(len(wanted))]


def log_log(title, x_title, y_title, curves):
    """An SVG of curves: pairs of a name and a list of (x, y), both above 0. Exponents stand at the names."""
    across = Axis([x for _, points in curves for x, _ in points], LEFT, WIDTH - RIGHT)
    up = Axis([y for _, points in curves for _, y in points], HEIGHT - BOTTOM, TOP)
    lines = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" width="{WIDTH}" height="{HEIGHT}">',
             f"<title>{escape(title)}</title>", f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>',
             text((LEFT + WIDTH - RIGHT) / 2, 26, title, size=16), *grid(across, up, x_title, y_title)]
    heights = name_heights([up.at(points[-1][1]) for _, points in curves])
    for (name, points), colour, height in zip(curves, COLOURS, heights):
        path = " ".join(f"{across.at(x):.1f},{up.at(y):.1f}" for x, y in points)
        lines.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"/>')
        lines += [f'<circle cx="{across.at(x):.1f}" cy="{up.at(y):.1f}" r="3.2" fill="{colour}"/>' for x, y in points]
        upper = points[len(points) // 2 :] if len(points) > 3 else points
        lines.append(text(WIDTH - RIGHT + 10, height + 2, name, "start", more=f'fill="{colour}"'))
        lines.append(text(WIDTH - RIGHT + 10, height + 16, f"exponent {exponent(upper):.2f} at the end", "start", 11,
                          f'fill="{colour}"'))
    return "\n".join([*lines, "</svg>", ""])
