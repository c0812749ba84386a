"""Tables of figures, as text for a terminal and as Markdown."""


def digits_behind_point(value):
    """As many as make three digits, none for a whole number."""
    if value == int(value):
        return 0
    return next(digits for digits, from_size in enumerate((100, 10, 1, 0.1, 0)) if abs(value) >= from_size)


def shown(figure):
    text = f"{figure.value:.{digits_behind_point(figure.value)}f}"
    if figure.unit:
        text += " " + figure.unit
    if figure.sense:
        sign = "≥" if figure.sense == ">=" else "≤"
        text += f" ({sign} {figure.limit:g}: {'met' if figure.met() else 'NOT MET'})"
    return text


def grid(figures):
    """The figures as rows of texts: a row a subject, a column for each thing it is compared with."""
    columns = list(dict.fromkeys(figure.against for figure in figures))
    rows = {}
    for figure in figures:
        rows.setdefault(figure.subject, {})[figure.against] = shown(figure)
    return [["", *columns], *([subject, *(cells.get(column, "") for column in columns)]
                              for subject, cells in rows.items())]


def text_table(title, figures):
    rows = grid(figures)
    widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]))]
    lines = ["  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip() for row in rows]
    return "\n".join([title, "-" * len(title), *lines, ""])


def markdown_table(title, figures):
    head, *rows = grid(figures)
    lines = ["| " + " | ".join(row) + " |" for row in [head, ["---"] * len(head), *rows]]
    return "\n".join([f"### {title}", "", *lines, ""])
