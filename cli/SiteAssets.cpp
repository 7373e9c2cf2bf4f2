#include "SiteAssets.h"

namespace torvex::cli {

std::string_view SiteAssets::StyleSheet() {
    return R"css(/* torvex site: the catalogue's pages. */
:root {
  color-scheme: light dark;
  --fg: #1d232b; --bg: #ffffff; --muted: #5b6470; --line: #d5dbe2; --accent: #1f5fa8;
  --head: #f2f5f8; --warn: #b3261e; --mark: #fff1b8;
}
@media (prefers-color-scheme: dark) {
  :root {
    --fg: #e6e9ee; --bg: #15191e; --muted: #9aa4b1; --line: #323b46; --accent: #7ab3f0;
    --head: #1e242b; --warn: #f28b82; --mark: #4a4220;
  }
}
* { box-sizing: border-box; }
[hidden] { display: none !important; }
body {
  margin: 0; color: var(--fg); background: var(--bg);
  font: 16px/1.45 system-ui, -apple-system, "Segoe UI", Roboto, "DejaVu Sans", sans-serif;
}
a { color: var(--accent); }
header.bar {
  display: flex; flex-wrap: wrap; gap: .5rem 1rem; align-items: center;
  justify-content: space-between; padding: .6rem 1rem; background: var(--head);
  border-bottom: 1px solid var(--line);
}
header.bar .home { font-weight: 600; text-decoration: none; }
nav.languages { display: flex; flex-wrap: wrap; gap: .4rem; align-items: center; }
nav.languages a, nav.languages span[aria-current] {
  padding: .1rem .5rem; border: 1px solid var(--line); border-radius: .3rem; font-size: .9rem;
  text-decoration: none;
}
nav.languages span[aria-current] { background: var(--accent); border-color: var(--accent); color: var(--bg); }
main { max-width: 80rem; margin: 0 auto; padding: 1rem; }
h1 { font-size: 1.6rem; margin: .2rem 0 .4rem; }
h2 { font-size: 1.2rem; margin: 1.8rem 0 .6rem; padding-bottom: .2rem; border-bottom: 1px solid var(--line); }
.lead, .meta, .count, .legend, footer { color: var(--muted); }
.meta, .legend { font-size: .85rem; }
.intro { display: flex; flex-wrap: wrap; gap: 1rem; align-items: flex-start; }
.intro img { border: 1px solid var(--line); border-radius: .3rem; background: #fff; max-width: 100%; height: auto; }
.tools { display: flex; flex-wrap: wrap; gap: .5rem 1rem; align-items: center; margin: .5rem 0; }
input[type=search] {
  font: inherit; padding: .4rem .6rem; min-width: min(100%, 22rem); color: var(--fg);
  background: var(--bg); border: 1px solid var(--line); border-radius: .3rem;
}
.scroll {
  overflow-x: auto; -webkit-overflow-scrolling: touch; max-width: 100%;
  border: 1px solid var(--line); border-radius: .3rem;
}
table { border-collapse: collapse; font-size: .9rem; min-width: 100%; }
th, td { padding: .3rem .6rem; text-align: left; vertical-align: top; border-bottom: 1px solid var(--line); white-space: nowrap; }
thead th { position: sticky; top: 0; background: var(--head); }
th .unit { display: block; font-weight: normal; font-size: .8rem; color: var(--muted); }
table.columns td { white-space: normal; min-width: 6rem; }
td.o { background: var(--mark); }
td.f { color: var(--warn); font-weight: 600; }
tr.s td { color: var(--muted); font-style: italic; }
.tag { display: inline-block; margin-left: .3rem; padding: 0 .35rem; font-size: .75rem; border: 1px solid currentColor; border-radius: .25rem; }
.legend span.o, .legend span.f { padding: 0 .3rem; }
.legend span.o { background: var(--mark); }
.legend span.f { color: var(--warn); font-weight: 600; }
dl.props { display: grid; grid-template-columns: max-content 1fr; gap: .2rem 1rem; margin: 0; }
dl.props dt { font-weight: 600; }
dl.props dd { margin: 0; overflow-wrap: anywhere; }
.tree ul { list-style: none; margin: .2rem 0; padding-left: 1.2rem; }
.tree > ul { padding-left: 0; }
.tree .cat { font-weight: 600; }
.tree li.family { margin: .15rem 0; }
.failed, .note { color: var(--warn); }
.pictures { display: flex; flex-wrap: wrap; gap: 1rem; align-items: flex-end; }
.pictures figure, figure.graph { margin: 0; }
figcaption { font-size: .8rem; color: var(--muted); }
figure.graph img { max-width: 100%; height: auto; background: #fff; }
ul.deps code, table.columns code { overflow-wrap: anywhere; }
footer { font-size: .8rem; padding: 1rem; text-align: center; }
@media (max-width: 40rem) {
  main { padding: .6rem; }
  h1 { font-size: 1.3rem; }
  dl.props { grid-template-columns: 1fr; }
  dl.props dd { margin-bottom: .4rem; }
}
)css";
}

std::string_view SiteAssets::Script() {
    return R"js(// torvex site: the filters. A box with data-filter narrows the element its aria-controls
// names as one types; ?q=TEXT in the page's address fills the box when the page opens, and the
// links marked data-keep-query (the language switch) carry the text along.
(function () {
  'use strict';

  function words(text) {
    return text.toLowerCase().split(/\s+/).filter(function (w) { return w.length > 0; });
  }

  function matches(text, terms) {
    for (var i = 0; i < terms.length; i++) {
      if (text.indexOf(terms[i]) < 0) return false;
    }
    return true;
  }

  // The family tree of the index: a family shows when its entry or one of its categories holds
  // every word; a category shows while it holds a family that shows.
  function treeFilter(tree) {
    var families = Array.prototype.slice.call(tree.querySelectorAll('li.family'));
    var categories = Array.prototype.slice.call(tree.querySelectorAll('li.category')).reverse();
    var texts = families.map(function (li) {
      var text = li.textContent;
      for (var up = li.parentElement; up && up !== tree; up = up.parentElement) {
        if (up.matches('li.category')) text += ' ' + up.querySelector('.cat').textContent;
      }
      return text.toLowerCase();
    });
    return function (terms) {
      var shown = 0;
      families.forEach(function (li, i) {
        li.hidden = !matches(texts[i], terms);
        if (!li.hidden) shown++;
      });
      categories.forEach(function (li) {
        li.hidden = terms.length > 0 && !li.querySelector('li.family:not([hidden])');
      });
      return [shown, families.length];
    };
  }

  // The member table: a row shows when its visible cells hold every word.
  function tableFilter(table) {
    var rows = table.tBodies[0].rows;
    var skip = {};
    (table.getAttribute('data-hidden-columns') || '').split(' ').forEach(function (n) {
      if (n) skip[n] = true;
    });
    var texts = null;
    return function (terms) {
      if (!texts) {
        texts = new Array(rows.length);
        for (var r = 0; r < rows.length; r++) {
          var cells = rows[r].cells, parts = [];
          for (var c = 1; c < cells.length; c++) {
            if (!skip[c]) parts.push(cells[c].textContent);
          }
          texts[r] = parts.join(' ').toLowerCase();
        }
      }
      var shown = 0;
      for (var i = 0; i < rows.length; i++) {
        var hide = !matches(texts[i], terms);
        if (rows[i].hidden !== hide) rows[i].hidden = hide;
        if (!hide) shown++;
      }
      return [shown, rows.length];
    };
  }

  function keepQuery(value) {
    document.querySelectorAll('a[data-keep-query]').forEach(function (a) {
      var base = a.getAttribute('data-href') || a.getAttribute('href');
      a.setAttribute('data-href', base);
      a.setAttribute('href', value ? base + '?q=' + encodeURIComponent(value) : base);
    });
  }

  function setUp(input) {
    var target = document.getElementById(input.getAttribute('aria-controls'));
    if (!target) return;
    var filter = target.tagName === 'TABLE' ? tableFilter(target) : treeFilter(target);
    var count = document.getElementById(input.getAttribute('data-count'));
    var big = target.tagName === 'TABLE' && target.tBodies[0].rows.length > 5000;
    var timer = 0;
    function apply() {
      var result = filter(words(input.value));
      if (count) count.textContent = result[0] + ' / ' + result[1];
      keepQuery(input.value.trim());
    }
    input.addEventListener('input', function () {
      if (!big) return apply();
      clearTimeout(timer);
      timer = setTimeout(apply, 200);
    });
    var query = new URLSearchParams(window.location.search).get('q');
    if (query) input.value = query;
    if (input.value) {
      apply();
    } else if (count) {
      // Nothing to narrow yet: a long table's texts are gathered at the first keystroke.
      var total = target.tagName === 'TABLE' ? target.tBodies[0].rows.length
                                             : target.querySelectorAll('li.family').length;
      count.textContent = total + ' / ' + total;
    }
  }

  document.querySelectorAll('input[data-filter]').forEach(setUp);
  document.querySelectorAll('input[data-show-hidden]').forEach(function (box) {
    var table = document.getElementById(box.getAttribute('data-show-hidden'));
    if (!table) return;
    var update = function () { table.classList.toggle('all', box.checked); };
    box.addEventListener('change', update);
    update();
  });
})();
)js";
}

} // namespace torvex::cli
