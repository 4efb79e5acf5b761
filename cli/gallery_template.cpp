#include "cli/gallery_page.h"

namespace imx {

// The page loads nothing but its pictures, which the first rule sees to as well. The list comes
// sorted by name and can be read without the script.
const std::string_view kGalleryHead = R"html(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; img-src 'self' file: data:;
 style-src 'unsafe-inline'; script-src 'unsafe-inline'">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="generator" content="imx gallery">
<link rel="icon" href="data:,">
<title>Gallery</title>
<style>
:root {
  color-scheme: light dark;
  --faint: rgb(128 128 128 / .3);
  --alarm: #b00020;
}
@media (prefers-color-scheme: dark) { :root { --alarm: #ff8a8a; } }
* { box-sizing: border-box; }
[hidden] { display: none !important; }
body { margin: 0; font: 1rem/1.4 system-ui, sans-serif; }
#bar {
  position: sticky; top: 0; z-index: 1; display: flex; flex-wrap: wrap; gap: .5rem; padding: .5rem;
  align-items: center; background: Canvas; border-bottom: 1px solid var(--faint);
}
#bar input { flex: 1 1 9rem; min-width: 0; }
input, select, button { font: inherit; padding: .3rem .5rem; min-height: 2.4rem; max-width: 100%; }
#count { white-space: nowrap; }
#list {
  list-style: none; margin: 0; padding: .5rem; display: grid; gap: .5rem;
  grid-template-columns: repeat(auto-fill, minmax(min(10rem, 46%), 1fr));
}
#list li {
  content-visibility: auto; contain-intrinsic-size: auto 15rem; padding: .4rem; min-width: 0;
  border: 1px solid var(--faint); border-radius: .4rem; overflow-wrap: anywhere; font-size: .85rem;
}
#list li.failed { border-color: var(--alarm); }
#list a { display: block; color: inherit; text-decoration: none; }
#list a:focus-visible { outline: 3px solid Highlight; outline-offset: 2px; }
.thumb {
  height: 10rem; margin-bottom: .3rem; display: grid; place-items: center; background: var(--faint);
}
img { background: repeating-conic-gradient(#bbb 0 25%, #eee 0 50%) 0 0 / 16px 16px; }
.thumb img { max-width: 100%; max-height: 10rem; }
.none { font-style: italic; }
bdi { font-weight: 600; }
small { font-weight: 400; opacity: .7; }
p, dl, dd { margin: .2rem 0 0; }
dt { float: left; margin-right: .4em; opacity: .7; }
dd { white-space: pre-wrap; }
.reason { color: var(--alarm); }
.note { opacity: .7; }
dialog { width: 100%; height: 100%; max-width: none; max-height: none; border: 0; padding: 0; }
dialog[open] { display: flex; flex-direction: column; }
#tools { display: flex; flex-wrap: wrap; gap: .4rem; padding: .4rem; align-items: center; }
#title { flex: 1 1 8rem; overflow-wrap: anywhere; font-weight: 600; }
#stage { flex: 1; overflow: auto; min-height: 0; display: grid; place-items: safe center; }
.fitted #picture { max-width: 100%; max-height: 100%; min-width: 0; min-height: 0; }
</style>
</head>
<body>
<noscript><p>Sorting and filtering need the page's script; the pictures do not.</p></noscript>
<form id="bar" role="search">
<input id="search" type="search" placeholder="Name, format, text" aria-label="Search" accesskey="f">
<select id="show" aria-label="Show">
<option value="all">All files</option>
<option value="shown">Pictures</option>
<option value="frames">Several frames</option>
<option value="failed">Failed</option>
</select>
<select id="format" aria-label="Format"><option value="">All formats</option></select>
<select id="sort" aria-label="Sort by">
<option value="name">By name</option>
<option value="format">By format</option>
<option value="pixels">By size, largest first</option>
<option value="bytes">By file size, largest first</option>
<option value="changed">By date, newest first</option>
</select>
<output id="count" aria-live="polite"></output>
</form>
<main>
<ul id="list">
)html";

const std::string_view kGalleryTail = R"html(</ul>
</main>
<dialog id="viewer" aria-labelledby="title">
<div id="tools">
<bdi id="title"></bdi>
<button id="back" aria-label="Previous picture">&larr;</button>
<button id="on" aria-label="Next picture">&rarr;</button>
<button id="fit" aria-pressed="false">Fit</button>
<button id="close">Close</button>
</div>
<div id="stage" tabindex="0"><img id="picture" alt=""></div>
</dialog>
<script>
'use strict';
const at = id => document.getElementById(id);
const list = at('list'), viewer = at('viewer'), picture = at('picture');
const controls = ['search', 'show', 'format', 'sort'];
const cards = Array.from(list.children, element => ({
  element,
  link: element.querySelector('a'),
  name: element.querySelector('bdi').textContent,
  text: element.textContent.toLowerCase(),
  data: element.dataset,
  failed: element.classList.contains('failed'),
}));
const byText = new Intl.Collator(undefined, {numeric: true}).compare;
let order = '', open = null;

for (const format of [...new Set(cards.map(card => card.data.format))].filter(Boolean).sort(byText)) {
  at('format').add(new Option(format));
}

function isWanted(card) {
  const show = at('show').value, format = at('format').value;
  if (show === 'shown' && !card.link || show === 'failed' && !card.failed) return false;
  if (show === 'frames' && card.data.frames < 2) return false;
  if (format && card.data.format !== format) return false;
  return at('search').value.toLowerCase().split(/\s+/).every(word => card.text.includes(word));
}

function sortCards(key) {
  if (key === order) return;
  order = key;
  const isText = key === 'name' || key === 'format';
  cards.sort((a, b) =>
    (key === 'format' ? byText(a.data.format, b.data.format) :
      isText ? 0 : b.data[key] - a.data[key]) || byText(a.name, b.name));
  list.append(...cards.map(card => card.element));
}

function update() {
  sortCards(at('sort').value);
  let shown = 0, failed = 0;
  for (const card of cards) {
    card.element.hidden = !isWanted(card);
    shown += !card.element.hidden;
    failed += card.failed;
  }
  at('count').value = `${shown} of ${cards.length}` + (failed ? `, ${failed} failed` : '');
}

const links = () => cards.filter(card => card.link && !card.element.hidden).map(card => card.link);

function show(link) {
  if (!link) return;
  open = link;
  picture.src = link.href;
  at('title').textContent = picture.alt = link.textContent;
  if (!viewer.open) viewer.showModal();
  at('stage').scrollTo(0, 0);
  at('stage').focus();
}

function step(by) {
  const all = links();
  show(all[all.indexOf(open) + by]);
}

function fit() {
  at('fit').setAttribute('aria-pressed', viewer.classList.toggle('fitted'));
}

function moveFocus(event) {
  const all = links(), place = all.indexOf(event.target.closest('a'));
  const columns = getComputedStyle(list).gridTemplateColumns.split(' ').length;
  const by = {ArrowLeft: -1, ArrowRight: 1, ArrowUp: -columns, ArrowDown: columns}[event.key];
  if (!by || place < 0 || !all[place + by]) return;
  event.preventDefault();
  all[place + by].focus();
}

for (const id of controls) at(id).addEventListener('input', update);
at('bar').addEventListener('submit', event => event.preventDefault());
list.addEventListener('keydown', moveFocus);
list.addEventListener('click', event => {
  const link = event.target.closest('a');
  if (!link || event.ctrlKey || event.metaKey || event.shiftKey) return;
  event.preventDefault();
  show(link);
});
viewer.addEventListener('keydown', event => {
  const stage = at('stage');
  const fits = stage.scrollWidth <= stage.clientWidth;
  if (event.key === 'p' || fits && event.key === 'ArrowLeft') step(-1);
  else if (event.key === 'n' || fits && event.key === 'ArrowRight') step(1);
  else if (event.key === 'f') fit();
  else return;
  event.preventDefault();
});
viewer.addEventListener('close', () => {
  picture.removeAttribute('src');
  open.focus();
});
at('back').addEventListener('click', () => step(-1));
at('on').addEventListener('click', () => step(1));
at('fit').addEventListener('click', fit);
at('close').addEventListener('click', () => viewer.close());
update();
</script>
</body>
</html>
)html";

}  // namespace imx
