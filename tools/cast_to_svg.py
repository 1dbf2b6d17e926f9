#!/usr/bin/env python3
"""Makes an animated SVG of a terminal recording in asciicast form (version 2).
Usage: cast_to_svg.py RECORDING.cast PICTURE.svg

Knows what line-oriented programs print: line breaks, carriage returns, erasing to the end of the line and the eight
basic colours. The picture shows the last state to a viewer that does not animate."""

import html
import json
import re
import sys

CELL_WIDTH, LINE_HEIGHT, MARGIN, SHORTEST_STEP, LAST_STEP = 8.43, 19, 14, 0.15, 4.0
COLOURS = {31: "#ff7b72", 32: "#7ee787", 33: "#f2cc60", 34: "#79c0ff", 35: "#d2a8ff", 36: "#76e3ea"}
PIECES = re.compile(r"\x1b\[([0-9;?]*)([A-Za-z])|([\r\n])|([^\x1b\r\n]+)")


class Screen:
    """Rows of (character, colour)."""

    def __init__(self):
        self.rows, self.column, self.colour = [[]], 0, None

    def feed(self, text):
        for numbers, letter, control, plain in PIECES.findall(text):
            row = self.rows[-1]
            if control == "\n":
                self.rows.append([])
                self.column = 0
            elif control == "\r":
                self.column = 0
            elif letter == "K":
                del row[self.column :]
            elif letter == "m":
                self.colour = COLOURS.get(int(numbers.split(";")[-1] or 0))
            for character in plain:
                row.extend([(" ", None)] * (self.column + 1 - len(row)))
                row[self.column] = (character, self.colour)
                self.column += 1

    def picture(self):
        rows = list(self.rows)
        while rows and not rows[-1]:
            rows.pop()
        return [list(row) for row in rows]


def steps_of(path):
    """(time, picture) for each state that stays long enough to be seen."""
    screen, steps = Screen(), []
    with open(path, encoding="utf-8") as file:
        next(file)
        for line in file:
            time, kind, text = json.loads(line)
            if kind != "o":
                continue
            if steps and time - steps[-1][0] < SHORTEST_STEP:
                time = steps.pop()[0]
            screen.feed(text)
            steps.append((time, screen.picture()))
    return steps


def text_of(picture):
    lines = []
    for index, row in enumerate(picture):
        spans, last = "", object()
        for character, colour in row:
            if colour != last:
                spans += ("</tspan>" if spans else "") + f'<tspan fill="{colour or "#e6edf3"}">'
                last = colour
            spans += html.escape(character)
        if spans:
            y = MARGIN + LINE_HEIGHT * (index + 0.8)
            lines.append(f'<text x="{MARGIN}" y="{y:.1f}">{spans}</tspan></text>')
    return "".join(lines)


def svg_of(steps):
    columns = max(len(row) for _, picture in steps for row in picture)
    rows = max(len(picture) for _, picture in steps)
    width, height = columns * CELL_WIDTH + 2 * MARGIN, rows * LINE_HEIGHT + 2 * MARGIN
    start, whole = steps[0][0], steps[-1][0] - steps[0][0] + LAST_STEP
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" xml:space="preserve" viewBox="0 0 {width:.0f} {height:.0f}" width="{width:.0f}">',
        "<style>text{font:14px ui-monospace,'DejaVu Sans Mono',Menlo,Consolas,monospace;white-space:pre}</style>",
        '<rect width="100%" height="100%" rx="8" fill="#0d1117"/>',
    ]
    for index, (time, picture) in enumerate(steps):
        last = index == len(steps) - 1
        begin = (time - start) / whole
        end = 1 if last else (steps[index + 1][0] - start) / whole
        times, states = f"0;{begin:.4f};{end:.4f}", "none;inline;none"
        if begin == 0:
            times, states = f"0;{end:.4f}", "inline;none"
        elif last:
            times, states = f"0;{begin:.4f}", "none;inline"
        parts.append(
            f'<g display="{"inline" if last else "none"}"><animate attributeName="display" dur="{whole:.2f}s" '
            f'repeatCount="indefinite" calcMode="discrete" keyTimes="{times}" values="{states}"/>{text_of(picture)}</g>'
        )
    return "\n".join(parts) + "\n</svg>\n"


def main():
    with open(sys.argv[2], "w", encoding="utf-8") as file:
        file.write(svg_of(steps_of(sys.argv[1])))


main()
