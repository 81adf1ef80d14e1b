"""A bar chart as SVG, without a library."""
from html import escape

COLOURS = {"ours": "#2b6cb0", "others": "#a0aec0"}
BAR, STEP, LEFT, WIDTH, TOP = 16, 22, 150, 420, 36
FONT = "font-family='sans-serif' font-size='12' fill='#1a202c'"


def text(x, y, content, anchor="start"):
    return f"<text x='{x}' y='{y}' text-anchor='{anchor}' {FONT}>{escape(content)}</text>"


def bar(y, name, value, longest, colour):
    length = round(WIDTH * value / longest) if longest else 0
    return [text(LEFT - 8, y + 12, name, "end"),
            f"<rect x='{LEFT}' y='{y}' width='{length}' height='{BAR}' fill='{colour}'/>",
            text(LEFT + length + 6, y + 12, f"{value:,}")]


def chart(title, groups):
    """groups: (title, [(name, value, "ours" or "others")]). The bars of a group share a linear scale."""
    parts, y = [text(12, 20, title)], TOP
    for group, bars in groups:
        parts.append(text(12, y + 12, group))
        y += STEP
        longest = max(value for _, value, _ in bars)
        for name, value, whose in bars:
            parts += bar(y, name, value, longest, COLOURS[whose])
            y += STEP
        y += STEP // 2
    width = LEFT + WIDTH + 90
    return "\n".join([f"<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 {width} {y}' width='{width}' height='{y}'>",
                      f"<rect width='{width}' height='{y}' fill='white'/>", *parts, "</svg>", ""])
