#!/usr/bin/env python3
"""End-to-end test of `torvex site`: writes the site of the example catalogue and opens its pages
in headless Chromium, reading the DOM after the pages' script ran (--dump-dom).

    site_browser.py TORVEX EXAMPLES_DIR WORK_DIR

Checks that the index holds every category and family of the table of contents (hidden
categories left out), that each family page holds the values `torvex table` prints, that the
filter (pre-filled by ?q=) narrows the member table and the family tree, and that the language
switch leads to the German page with German texts. Screenshots of the index and of a family page
are kept in WORK_DIR/screenshots. Without Chromium the test is skipped (exit 77), or fails when
TORVEX_REQUIRE_BROWSER=1.
"""

import csv
import io
import json
import os
import shutil
import subprocess
import sys
import urllib.parse
from html.parser import HTMLParser

SKIP = 77
VOID = {"area", "base", "br", "col", "embed", "hr", "img", "input", "link", "meta", "source",
        "track", "wbr"}


class Node:
    def __init__(self, tag, attrs, parent):
        self.tag, self.attrs, self.parent, self.children = tag, dict(attrs), parent, []

    def text(self):
        return "".join(c if isinstance(c, str) else c.text() for c in self.children)

    def all(self, predicate):
        for child in self.children:
            if isinstance(child, Node):
                if predicate(child):
                    yield child
                yield from child.all(predicate)

    def first(self, predicate):
        return next(self.all(predicate), None)

    def classes(self):
        return self.attrs.get("class", "").split()


class TreeBuilder(HTMLParser):
    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.root = Node("#document", [], None)
        self.current = self.root

    def handle_starttag(self, tag, attrs):
        node = Node(tag, attrs, self.current)
        self.current.children.append(node)
        if tag not in VOID:
            self.current = node

    def handle_startendtag(self, tag, attrs):
        self.current.children.append(Node(tag, attrs, self.current))

    def handle_endtag(self, tag):
        node = self.current
        while node is not self.root and node.tag != tag:
            node = node.parent
        if node is not self.root:
            self.current = node.parent

    def handle_data(self, data):
        self.current.children.append(data)


def fail(message):
    print("FAIL: " + message)
    sys.exit(1)


def check(condition, message):
    if not condition:
        fail(message)


class Browser:
    def __init__(self, program, work):
        self.program, self.profile = program, os.path.join(work, "chromium-profile")

    def run(self, *arguments):
        command = [self.program, "--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars",
                   "--no-first-run", "--user-data-dir=" + self.profile, *arguments]
        result = subprocess.run(command, capture_output=True, timeout=180)
        if result.returncode != 0:
            fail("chromium failed: %s\n%s" % (" ".join(command), result.stderr.decode(errors="replace")))
        return result.stdout.decode("utf-8")

    def dom(self, url):
        builder = TreeBuilder()
        builder.feed(self.run("--dump-dom", url))
        return builder.root

    def screenshot(self, url, path):
        self.run("--screenshot=" + path, "--window-size=1200,900", url)
        with open(path, "rb") as f:
            check(f.read(8) == b"\x89PNG\r\n\x1a\n", "no screenshot in " + path)


def run_tool(torvex, *arguments, expect=0):
    result = subprocess.run([torvex, *arguments], capture_output=True, timeout=600)
    if result.returncode != expect:
        fail("torvex %s: exit %d, expected %d\n%s" % (" ".join(arguments), result.returncode,
                                                       expect, result.stderr.decode()))
    return result.stdout.decode("utf-8")


def member_table(page):
    """(column ids, hidden cell indexes, [(row id, hidden, [cell texts])]) of the member table."""
    table = page.first(lambda n: n.attrs.get("id") == "member-table")
    check(table is not None, "the page has no member table")
    columns = [th.attrs["data-column"] for th in table.all(lambda n: n.tag == "th" and "data-column" in n.attrs)]
    hidden = {int(n) for n in table.attrs.get("data-hidden-columns", "").split()}
    tbody = table.first(lambda n: n.tag == "tbody")
    rows = []
    for tr in tbody.all(lambda n: n.tag == "tr"):
        cells = [td.text() for td in tr.all(lambda n: n.tag == "td")]
        rows.append((tr.attrs.get("data-id"), "hidden" in tr.attrs, cells[1:]))
    return columns, hidden, rows


def table_csv(torvex, examples, folder, language):
    text = run_tool(torvex, "table", "--format", "csv", "--materials",
                    os.path.join(examples, "materials.tsv"), "--lang", language,
                    os.path.join(examples, folder, "Family.xml"),
                    "--strings", os.path.join(examples, folder, "FamilyStrings.EN-US.xml"),
                    "--strings", os.path.join(examples, folder, "FamilyStrings.DE-DE.xml"))
    rows = list(csv.reader(io.StringIO(text, newline="")))
    return rows[0][1:], [(row[0], row[1:]) for row in rows[1:]]


def same_values(torvex, examples, browser, url, folder, language):
    """The page's member table holds what `torvex table` prints, cell by cell."""
    page = browser.dom(url)
    columns, _, rows = member_table(page)
    ids, expected = table_csv(torvex, examples, folder, language)
    check(columns == ids, "%s: columns %s, torvex table has %s" % (url, columns, ids))
    check(len(rows) == len(expected), "%s: %d rows, torvex table has %d" % (url, len(rows), len(expected)))
    for (row_id, _, cells), (expected_id, values) in zip(rows, expected):
        values = ["<" + v[1:] + ">" if v.startswith("#Eval") else v for v in values]
        check(row_id == expected_id, "%s: row %s where torvex table has %s" % (url, row_id, expected_id))
        check(cells == values, "%s: row %s holds %s, torvex table prints %s" % (url, row_id, cells, values))
    return page


def main():
    torvex, examples, work = sys.argv[1:4]
    chromium = shutil.which("chromium") or shutil.which("chromium-browser")
    if not chromium:
        if os.environ.get("TORVEX_REQUIRE_BROWSER") == "1":
            fail("chromium is not installed (TORVEX_REQUIRE_BROWSER=1; Debian package chromium)")
        print("SKIP: chromium is not installed")
        return SKIP
    shutil.rmtree(work, ignore_errors=True)
    os.makedirs(os.path.join(work, "screenshots"))
    site = os.path.join(work, "site")
    browser = Browser(chromium, work)

    summary = json.loads(run_tool(torvex, "site", examples, "-o", site, "--materials",
                                  os.path.join(examples, "materials.tsv"), "--format", "json",
                                  "-j", "2"))
    check(summary["languages"] == ["en-US", "de-DE"], "languages %s" % summary["languages"])
    check(summary["pages"] == 8 and summary["familiesFailed"] == 0, "summary %s" % summary)

    def url(path, query=None):
        address = "file://" + urllib.parse.quote(os.path.abspath(os.path.join(site, path)))
        return address + ("?q=" + urllib.parse.quote(query) if query else "")

    # The index: every category and family of the table of contents, hidden ones left out.
    toc = json.loads(run_tool(torvex, "toc", os.path.join(examples, "toc.xml"), "--skip-hidden",
                              "--format", "json"))
    categories, families = [], []
    stack = list(toc["categories"])
    while stack:
        category = stack.pop()
        categories.append(category["displayName"])
        families += [f["displayName"] for f in category["families"]]
        stack += category["categories"]
    index = browser.dom(url("index.html"))
    check(index.first(lambda n: n.tag == "html").attrs.get("lang") == "en-US", "index lang")
    shown_categories = [n.text() for n in index.all(lambda n: "cat" in n.classes())]
    shown_families = {a.text(): a.attrs["href"] for li in index.all(lambda n: "family" in n.classes())
                      for a in li.all(lambda n: n.tag == "a")}
    check(sorted(shown_categories) == sorted(categories),
          "index categories %s, table of contents %s" % (shown_categories, categories))
    check(sorted(set(shown_families)) == sorted(set(families)),
          "index families %s, table of contents %s" % (sorted(shown_families), families))
    for href in shown_families.values():
        check(os.path.isfile(os.path.join(site, href)), "the index links to a missing " + href)
    check("Kits" not in index.text(), "the hidden category Kits is on the index")

    # The family tree's filter: "nuts" leaves the nuts alone.
    narrowed = browser.dom(url("index.html", "nuts"))
    visible = [li.first(lambda n: n.tag == "a").text() for li in
               narrowed.all(lambda n: "family" in n.classes() and "hidden" not in n.attrs)]
    check(visible == ["Hexagon nuts ISO 4032"], "index filtered by nuts shows %s" % visible)

    # Each family page holds the values of torvex table, in both languages.
    for folder in ("iso4762", "iso4032", "iso7089"):
        same_values(torvex, examples, browser, url("families/%s.html" % folder), folder, "en-US")
    page = same_values(torvex, examples, browser, url("families/iso4762.html"), "iso4762", "en-US")

    # The member filter: ?q=M10 leaves the rows whose shown cells hold "m10", and says so.
    filtered = browser.dom(url("families/iso4762.html", "M10"))
    columns, hidden, rows = member_table(filtered)
    shown = [cells[columns.index("DESIGNATION")] for _, is_hidden, cells in rows if not is_hidden]
    expected = [cells[columns.index("DESIGNATION")] for _, _, cells in rows
                if any("m10" in c.lower() for i, c in enumerate(cells) if i + 1 not in hidden)]
    check(shown == expected == ["M10x20", "M10x60"], "filtered by M10: %s (expected %s)" % (shown, expected))
    count = filtered.first(lambda n: n.attrs.get("id") == "member-count")
    check(count is not None and count.text() == "2 / 17", "the filter's count says %r" % (count and count.text()))
    box = filtered.first(lambda n: n.attrs.get("id") == "member-filter")
    check(box is not None, "no filter box")

    # The language switch leads to the German page, which has German texts and the same values.
    switch = page.first(lambda n: n.tag == "a" and n.attrs.get("hreflang") == "de-DE")
    check(switch is not None, "the family page has no link to de-DE")
    german_url = urllib.parse.urljoin(url("families/iso4762.html"), switch.attrs["href"])
    german = same_values(torvex, examples, browser, german_url, "iso4762", "de-DE")
    check(german.first(lambda n: n.tag == "html").attrs.get("lang") == "de-DE", "German page lang")
    title = german.first(lambda n: n.tag == "h1").text()
    check(title == "Zylinderschrauben mit Innensechskant ISO 4762", "German title %r" % title)
    text = german.text()
    for word in ("brüniert", "Mitglieder", "Stahl, Festigkeitsklasse 8.8", "Nenndurchmesser"):
        check(word in text, "the German page lacks %r" % word)
    back = german.first(lambda n: n.tag == "a" and n.attrs.get("hreflang") == "en-US")
    check(back is not None and back.attrs["href"] == "iso4762.html", "no way back to en-US")
    german_index = browser.dom(urllib.parse.urljoin(german_url, german.first(
        lambda n: "home" in n.classes()).attrs["href"]))
    check(german_index.first(lambda n: n.tag == "h1").text() == "Katalog", "German index")

    # Pictures and graph are files of the site.
    for img in page.all(lambda n: n.tag == "img"):
        path = os.path.join(site, "families", urllib.parse.unquote(img.attrs["src"]))
        check(os.path.isfile(path), "missing picture " + path)

    browser.screenshot(url("index.html"), os.path.join(work, "screenshots", "index.png"))
    browser.screenshot(url("families/iso4762.html"), os.path.join(work, "screenshots", "family.png"))
    print("site_browser: index, 3 family pages in 2 languages, filters and language switch checked; "
          "screenshots in " + os.path.join(work, "screenshots"))
    return 0


if __name__ == "__main__":
    sys.exit(main())
