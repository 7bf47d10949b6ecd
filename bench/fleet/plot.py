# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""What a growing fleet costs, as a picture: a panel for each figure, all over the adapters."""
import math

PANELS = (
    ("s until all have confirmed", "all_confirmed_seconds"),
    ("processor ms, each", "bridge_ms_each"),
    ("private KB, each", "private_kb_each"),
    ("messages, each", "messages_each"),
)
WIDTH, HEIGHT, LEFT, BOTTOM, TOP = 230, 200, 45, 165, 35


def ceiling(value):
    """The next of 1, 2, 5, 10, 20 ... that is not lower."""
    power = 10 ** math.floor(math.log10(max(value, 1e-3)))
    return next(step * power for step in (1, 2, 5, 10) if step * power >= value)


def panel(title, name, figures):
    most_x = max(one["adapters"] for one in figures)
    most_y = ceiling(max(one[name] for one in figures))
    at_x = lambda count: LEFT + (WIDTH - LEFT - 20) * count / most_x
    at_y = lambda value: BOTTOM - (BOTTOM - TOP) * value / most_y
    yield f"<text x='{LEFT}' y='18' font-weight='bold'>{title}</text>"
    for part in (0, 0.5, 1):
        y = at_y(most_y * part)
        yield (f"<line x1='{LEFT}' x2='{WIDTH - 20}' y1='{y:.1f}' y2='{y:.1f}' stroke='#ddd'/>"
               f"<text x='{LEFT - 6}' y='{y + 4:.1f}' text-anchor='end'>{most_y * part:g}</text>")
    points = [(at_x(one["adapters"]), at_y(one[name])) for one in figures]
    yield ("<polyline fill='none' stroke-width='2' stroke='#4c8c4a' points='"
           + " ".join(f"{x:.1f},{y:.1f}" for x, y in points) + "'/>")
    for (x, y), one in zip(points, figures):
        yield f"<circle cx='{x:.1f}' cy='{y:.1f}' r='3' fill='#4c8c4a'/>"
        yield f"<text x='{x:.1f}' y='{BOTTOM + 18}' text-anchor='middle'>{one['adapters']}</text>"


def draw(path, figures):
    with open(path, "w", encoding="utf-8") as file:
        file.write(f"<svg xmlns='http://www.w3.org/2000/svg' width='{WIDTH * len(PANELS)}' "
                   f"height='{HEIGHT}' font-size='11' font-family='sans-serif'>\n"
                   "<rect width='100%' height='100%' fill='white'/>\n")
        for i, (title, name) in enumerate(PANELS):
            file.write(f"<g transform='translate({i * WIDTH} 0)'>\n")
            file.writelines(line + "\n" for line in panel(title, name, figures))
            file.write("</g>\n")
        file.write("</svg>\n")
