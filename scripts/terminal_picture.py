#!/usr/bin/python3
"""Draws what a program shows in a terminal as an SVG picture.

terminal_picture.py [--size COLUMNSxLINES] [--until REGEX] [--title TEXT] --output FILE.svg PROGRAM [ARGUMENT...]

The picture is taken once REGEX is found on the screen, or when the program has ended; a program that is still
running then is ended. Lines at the end that are empty are cut off.
"""

import argparse
import re
from html import escape

from terminal import Terminal

CELL_WIDTH, CELL_HEIGHT, MARGIN, BAR = 8, 17, 14, 30
BACKGROUND, FOREGROUND = "#1d2329", "#d6dde4"
COLOURS = {"default": FOREGROUND, "cyan": "#56c8d8", "green": "#7ccf7c", "red": "#f07178", "magenta": "#d58ee0",
           "yellow": "#e6c35c"}
BLOCKS = "▁▂▃▄▅▆▇█"


def runs(cells, style_of):
    """Neighbouring cells of one style: (first column, cells, style)."""
    begin = 0
    for column in range(1, len(cells) + 1):
        if column == len(cells) or style_of(cells[column]) != style_of(cells[begin]):
            yield begin, cells[begin:column], style_of(cells[begin])
            begin = column


def colours_of(cell):
    foreground = COLOURS.get(cell.fg, FOREGROUND)
    return (BACKGROUND, FOREGROUND) if cell.reverse else (foreground, BACKGROUND)


def block_path(cells, left, top):
    """Blocks as rectangles, since fonts leave gaps between them."""
    path = ""
    for column, cell in enumerate(cells):
        if cell.data in BLOCKS:
            height = CELL_HEIGHT * (BLOCKS.index(cell.data) + 1) / 9
            path += f"M{left + column * CELL_WIDTH} {top + CELL_HEIGHT - 2}h{CELL_WIDTH - 1}v{-height:.3g}h{1 - CELL_WIDTH}z"
    return path


def draw_run(column, cells, style, top):
    foreground, background, bold = style
    left = MARGIN + column * CELL_WIDTH
    width = len(cells) * CELL_WIDTH
    parts = []
    if background != BACKGROUND:
        parts.append(f'<rect x="{left}" y="{top}" width="{width}" height="{CELL_HEIGHT}" fill="{background}"/>')
    path = block_path(cells, left, top)
    if path:
        parts.append(f'<path fill="{foreground}" d="{path}"/>')
    text = "".join(" " if cell.data in BLOCKS else cell.data for cell in cells)
    weight = ' font-weight="bold"' if bold else ""
    # Place each word at its column, whatever the width of the reader's font.
    for word in re.finditer(r"\S+(?: \S+)*", text):
        parts.append(f'<text x="{left + word.start() * CELL_WIDTH}" y="{top + 13}" fill="{foreground}"{weight}>'
                     f"{escape(word[0])}</text>")
    return "\n".join(parts)


def draw(screen, lines, title):
    """The screen as SVG text."""
    width = screen.columns * CELL_WIDTH + 2 * MARGIN
    height = BAR + lines * CELL_HEIGHT + 2 * MARGIN
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" height="{height}" '
        'font-family="DejaVu Sans Mono, Menlo, Consolas, monospace" font-size="13">',
        f'<rect width="{width}" height="{height}" rx="8" fill="{BACKGROUND}"/>',
        f'<path d="M0 {BAR}V8a8 8 0 0 1 8-8H{width - 8}a8 8 0 0 1 8 8V{BAR}z" fill="#2c343c"/>',
        f'<text x="{MARGIN}" y="20" fill="#aab4be">$ {escape(title)}</text>',
    ]
    for number in range(lines):
        cells = [screen.buffer[number][column] for column in range(screen.columns)]
        for column, run, style in runs(cells, lambda cell: (*colours_of(cell), cell.bold)):
            parts.append(draw_run(column, run, style, BAR + MARGIN + number * CELL_HEIGHT))
    return "\n".join(part for part in parts if part) + "\n</svg>\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--size", default="100x24")
    parser.add_argument("--until")
    parser.add_argument("--title", required=True)
    parser.add_argument("--output", required=True)
    parser.add_argument("program", nargs=argparse.REMAINDER)
    options = parser.parse_args()
    columns, lines = map(int, options.size.split("x"))
    with Terminal(options.program, columns, lines) as terminal:
        if options.until:
            terminal.wait_until(lambda t: re.search(options.until, t.text()), options.until)
        else:
            terminal.wait_end()
        used = max((number + 1 for number, line in enumerate(terminal.lines()) if line), default=1)
        with open(options.output, "w", encoding="utf-8") as file:
            file.write(draw(terminal.screen, used, options.title))


if __name__ == "__main__":
    main()
