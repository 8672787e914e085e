"""What became of the things that documents carried into a merged file, in a few words each.

Everything is compared with the documents themselves, looked at in the same way: nothing here knows
what they hold. Page N of a document is expected where all pages before it put it.
"""

from .carried import page_lines, views_of

COLUMNS = ["outline", "internal links", "fields", "page labels", "attachments", "title"]


def whose(kept):
    """kept: for each document, for each of its things, whether it is there."""
    if all(all(things) for things in kept):
        return "both" if len(kept) == 2 else "all"
    if not any(any(things) for things in kept):
        return "lost"
    if len(kept) == 2 and all(kept[0]) and not any(kept[1]):
        return "first only"
    if len(kept) == 2 and all(kept[1]) and not any(kept[0]):
        return "second only"
    return f"{sum(map(sum, kept))} of {sum(map(len, kept))}"


def outline(sources, offsets, output):
    pages_of = {}
    for title, page in output.outline:
        pages_of.setdefault(title, []).append(page)
    expected = [[(title, page + offset) for title, page in source.outline]
                for source, offset in zip(sources, offsets)]
    verdict = whose([[title in pages_of for title, _ in entries] for entries in expected])
    there = [(title, page) for entries in expected for title, page in entries if title in pages_of]
    astray = sum(page not in pages_of[title] for title, page in there)
    return verdict + (f", {astray} of {len(there)} lead astray" if astray else "")


def shifted(pairs, offset, targets_too):
    return [(page + offset, target + offset if targets_too else target) for page, target in pairs]


def count_common(wanted, found):
    left = list(found)
    common = 0
    for item in wanted:
        if item in left:
            left.remove(item)
            common += 1
    return common


def internal_links(sources, offsets, output):
    wanted = [link for source, offset in zip(sources, offsets)
              for link in shifted(source.links, offset, True)]
    right = count_common(wanted, output.links)
    if right == len(wanted):
        verdict = "right"
    elif not output.links:
        verdict = "lost"
    else:
        verdict = f"{right} of {len(wanted)} right"
    astray = len(output.links) - right
    web = [link for source, offset in zip(sources, offsets)
           for link in shifted(source.web, offset, False)]
    lost = len(web) - count_common(web, output.web)
    return (verdict + (f", {astray} lead astray" if astray else "") +
            (f"; {lost} of {len(web)} to the web lost" if lost else ""))


def fields(sources, offsets, output):
    by_place = {(value, page): name for name, value, page in output.fields}
    kept = [[(value, page + offset) in by_place for _, value, page in source.fields]
            for source, offset in zip(sources, offsets)]
    verdict = whose(kept)
    owners = {}
    renamed = False
    for index, (source, offset) in enumerate(zip(sources, offsets)):
        for name, value, page in source.fields:
            now = by_place.get((value, page + offset))
            if now is not None:
                owners.setdefault(now, set()).add(index)
                renamed = renamed or now != name
    if any(len(documents) > 1 for documents in owners.values()):
        return verdict + ", under one name"
    return verdict + (", renamed" if renamed else "")


def page_labels(sources, offsets, output):
    if not output.labels:
        return "lost"
    kept = [[output.labels[offset + index] == label for index, label in enumerate(source.labels)]
            for source, offset in zip(sources, offsets)]
    return whose(kept)


def attachments(sources, _, output):
    contents = [content for _, content in output.attachments]
    verdict = whose([[content in contents for _, content in source.attachments]
                     for source in sources])
    before = {name for source in sources for name, _ in source.attachments}
    now = [name for name, _ in output.attachments]
    if len(set(now)) < len(now):
        return verdict + ", under one name"
    return verdict + (", renamed" if set(now) - before else "")


def title(sources, _, output):
    if not output.title:
        return "lost"
    for number, source in enumerate(sources):
        if output.title == source.title:
            return f"of the {('first', 'second', 'third')[number]}"
    return "its own"


JUDGES = dict(zip(COLUMNS, [outline, internal_links, fields, page_labels, attachments, title]))
TOLD_BY = {"outline": "outline", "internal links": "links", "fields": "fields",
           "page labels": "labels", "attachments": "attachments", "title": "title"}


def row(inputs, merged):
    """The verdicts on a file merged from all pages of the inputs, by column.

    A program that sees something else than qpdf stands beside it.
    """
    sources = [views_of(path) for path in inputs]
    output = views_of(merged)
    # What stands in fields is not the page's own text: it may be gone with them.
    values = {value for source in sources for _, value, _ in source["qpdf"].fields}
    pages = [[lines - values for lines in page_lines(path)] for path in inputs]
    merged_pages = [lines - values for lines in page_lines(merged)]
    if merged_pages != [lines for document in pages for lines in document]:
        return {column: "wrong pages" for column in COLUMNS}
    offsets = [sum(map(len, pages[:index])) for index in range(len(pages))]
    verdicts = {}
    for column, judge in JUDGES.items():
        told = {name: judge([source[name] for source in sources], offsets, view)
                for name, view in output.items() if getattr(view, TOLD_BY[column]) is not None}
        verdicts[column] = told["qpdf"] + "".join(
            f" ({name}: {verdict})" for name, verdict in told.items() if verdict != told["qpdf"])
    return verdicts
