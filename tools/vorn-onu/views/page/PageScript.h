// The script of the page of a board that runs. The server makes all HTML, with every text escaped; texts that come as
// such are shown as text.
#ifndef VORN_ONU_PAGE_SCRIPT_H
#define VORN_ONU_PAGE_SCRIPT_H

namespace vorn_onu::page {

constexpr const char* kPageScript = R"js('use strict';

const byId = id => document.getElementById(id);

// ---- the token: comes with the link, and leaves the address line ----

let token = '';

// Null when nobody answers.
async function isGood(one) {
  const reply = await fetch('token', {headers: {'X-Vorn-Token': one}}).catch(() => null);
  return reply && (await reply.json()).good;
}

function showRights(isOld) {
  if (isOld) byId('readonly').textContent = 'You can look at this board. The token of this page is not the one ' +
    'of the server, which may have been started again: to change something, open the link that it has printed last.';
  byId('readonly').hidden = token !== '';
  for (const group of document.querySelectorAll('fieldset.bare')) group.disabled = token === '';
}

// One that is wrong takes the place of none that is good.
async function findToken() {
  const name = 'vorn-onu token';
  const given = new URLSearchParams(location.search).get('token');
  if (given) history.replaceState(null, '', location.pathname + location.hash);
  let kept = null;
  try {
    kept = sessionStorage.getItem(name);
  } catch {}  // no storage is granted: good until the page is loaded again
  for (const one of new Set([given, kept].filter(Boolean))) {
    if (!(await isGood(one))) continue;
    token = one;
    try {
      sessionStorage.setItem(name, one);
    } catch {}
    break;
  }
  showRights(token === '' && Boolean(given || kept));
}

// A server that was started again has another token.
async function checkToken() {
  if (token === '' || await isGood(token) !== false) return;
  token = '';
  showRights(true);
}

// ---- parts: only what differs is changed, so that focus, selection and what is unfolded stay ----

const keyOf = node => (node.nodeType === Node.ELEMENT_NODE ? node.dataset.key || '' : '');
const areAlike = (one, other) => one.nodeName === other.nodeName && keyOf(one) === keyOf(other);

function patchAttributes(old, fresh) {
  for (const {name} of [...old.attributes])
    if (!fresh.hasAttribute(name) && name !== 'open') old.removeAttribute(name);
  for (const {name, value} of fresh.attributes)
    if (name !== 'open' && old.getAttribute(name) !== value) old.setAttribute(name, value);
}

function patch(old, fresh) {
  if (old.nodeType !== Node.ELEMENT_NODE) {
    if (old.nodeValue !== fresh.nodeValue) old.nodeValue = fresh.nodeValue;
    return;
  }
  patchAttributes(old, fresh);
  patchChildren(old, fresh);
}

function patchChildren(old, fresh) {
  // Rows that go make room first: a row that is moved would lose the focus.
  const staying = new Set([...fresh.children].map(keyOf));
  for (const child of [...old.children]) if (keyOf(child) && !staying.has(keyOf(child))) child.remove();
  let place = old.firstChild;
  for (const node of [...fresh.childNodes]) {
    while (place && keyOf(node) && !keyOf(place)) {  // what stood between rows
      const stale = place;
      place = place.nextSibling;
      stale.remove();
    }
    if (place && keyOf(node) && !areAlike(place, node)) {
      const moved = [...old.children].find(child => areAlike(child, node));
      if (moved) place = old.insertBefore(moved, place);
    }
    if (!place || !areAlike(place, node)) {
      old.insertBefore(node, place);
      if (place && !keyOf(place) && !keyOf(node)) {
        const stale = place;
        place = place.nextSibling;
        stale.remove();
      }
      continue;
    }
    patch(place, node);
    place = place.nextSibling;
  }
  while (place) {
    const stale = place;
    place = place.nextSibling;
    stale.remove();
  }
}

function show(place, html) {
  const fresh = document.createElement(place.nodeName);
  fresh.innerHTML = html;
  patchChildren(place, fresh);
}

function showParts(parts) {
  for (const [name, html] of Object.entries(parts)) {
    const place = byId('part-' + name);
    if (!place) continue;
    show(place, html);
    const section = byId(name);
    if (!section) continue;
    section.hidden = html === '';
    for (const link of document.querySelectorAll('nav a'))
      if (link.hash === '#' + name) link.hidden = section.hidden;
  }
  filter();
}

// ---- what does not have the words that are looked for is hidden ----

const kServices = '#part-services > [data-key]';
const kFiltered = kServices + ', #part-picture svg[data-key], #part-pon tbody tr, #part-devices tbody tr, ' +
  '#part-mib > [data-key], #part-counters tbody tr:not(.way), #part-calls tbody tr';

function filter() {
  const words = byId('filter').value.toLowerCase().split(' ').filter(Boolean);
  let shown = 0, all = 0;
  for (const one of document.querySelectorAll(kFiltered)) {
    // "GEM port" is in the headings.
    const heads = one.getAttribute('aria-label') || one.closest('table')?.tHead.textContent || '';
    const text = (heads + ' ' + one.textContent).toLowerCase();
    const fits = words.every(word => text.includes(word));
    if (one.hasAttribute('hidden') === fits) one.toggleAttribute('hidden', !fits);
    if (!one.matches(kServices)) continue;
    ++all;
    if (fits) ++shown;
  }
  byId('filtered').textContent = words.length > 0 ? shown + ' of ' + all + ' services' : '';
}

byId('filter').addEventListener('input', filter);

// ---- what the board tells; not while nobody looks ----

let listening = null;
let wasLost = false;

function connection(text, state) {
  const line = byId('connection');
  if (line.textContent !== text) line.textContent = text;
  line.className = state;
}

// "event: NAME" and "data: JSON"; what begins with a colon says only that the server is there.
function onEvent(text) {
  const [, name, data] = /^event: (.*)\ndata: (.*)$/.exec(text) || [];
  if (name === 'parts') {
    connection('Live', 'live');
    showParts(JSON.parse(data));
  } else if (name === 'gone') {
    connection('Not there: ' + JSON.parse(data).why + '. Below is what was seen last.', 'lost');
  }
}

async function readEvents(reply) {
  const reader = reply.body.pipeThrough(new TextDecoderStream()).getReader();
  let text = '';
  for (let next = await reader.read(); !next.done; next = await reader.read()) {
    const events = (text + next.value).split('\n\n');
    text = events.pop();
    for (const event of events) queueMicrotask(() => onEvent(event));  // what it throws is no end of the connection
  }
}

// Not by an event source: that sends no token but in the address, and does not tell why it is refused.
async function listen() {
  if (listening || document.hidden) return;
  const asking = listening = new AbortController();
  let why = 'vorn-onu does not answer. Below is what was seen last.';
  try {
    const reply = await fetch('events', {headers: token ? {'X-Vorn-Token': token} : {}, signal: asking.signal});
    if (reply.ok) {
      if (wasLost) checkToken();
      wasLost = false;
      await readEvents(reply);
    } else {
      why = 'Not live: ' + ((await reply.json()).error || reply.status) + '.';
    }
  } catch {}  // nobody answers, or nobody looks any more
  if (listening !== asking) return;
  listening = null;
  wasLost = true;
  connection(why, 'lost');
  setTimeout(listen, 3000);
}

document.addEventListener('visibilitychange', () => {
  if (!document.hidden) return listen();
  const asking = listening;
  listening = null;
  if (asking) asking.abort();
});

// ---- steps ----

function outcome(words, mood) {
  const line = byId('outcome');
  line.className = mood;
  line.textContent = words;
}

async function take(step) {
  const reply = await fetch('step', {
    method: 'POST',
    headers: {'Content-Type': 'application/json', 'X-Vorn-Token': token},
    body: JSON.stringify(step),
  }).catch(() => null);
  if (!reply) {
    outcome('vorn-onu does not answer.', 'bad');
    return null;
  }
  const answer = await reply.json().catch(() => ({error: 'an answer that is none'}));
  if (answer.error !== undefined) {
    outcome('Not done: ' + answer.error, 'bad');
    return null;
  }
  outcome(answer.words, answer.passed ? 'good' : 'bad');
  return answer;
}

document.addEventListener('click', event => {
  const button = event.target.closest('button[data-step]');
  if (button) take(JSON.parse(button.dataset.step));
});

// ---- forms: fields that are empty are left out ----

function onSubmit(id, stepOf, then) {
  byId(id).addEventListener('submit', async event => {
    event.preventDefault();
    const values = Object.fromEntries([...new FormData(event.target)].map(([key, text]) => [key, text.trim()]));
    try {
      const answer = await take(stepOf(values));
      if (answer && then) then(answer);
    } catch (error) {
      outcome('Not done: ' + error.message, 'bad');
    }
  });
}

const numberOrText = text => (/^[0-9]+$/.test(text) ? Number(text) : text);

function tagOf(values, which) {
  if (values[which + '-vid'] === '') {
    if (values[which + '-pbits'] || values[which + '-tpid']) throw new Error('the ' + which + ' tag has no VID');
    return [];
  }
  const tag = {vid: Number(values[which + '-vid'])};
  if (values[which + '-pbits'] !== '') tag.pbits = Number(values[which + '-pbits']);
  if (values[which + '-tpid'] !== '') tag.tpid = numberOrText(values[which + '-tpid']);
  return [tag];
}

function frameOf(values) {
  const frame = {from: values.from, etherType: values.etherType};
  const outer = tagOf(values, 'outer'), inner = tagOf(values, 'inner');
  if (inner.length > outer.length) throw new Error('an inner tag goes with an outer one');
  const tags = [...outer, ...inner];
  if (tags.length > 0) frame.tags = tags;
  for (const key of ['dscp', 'payload']) if (values[key] !== '') frame[key] = Number(values[key]);
  for (const key of ['source', 'destination']) if (values[key] !== '') frame[key] = values[key];
  if (values.ipProtocol !== '') frame.ipProtocol = numberOrText(values.ipProtocol);
  return {frame};
}

onSubmit('frame-form', frameOf, answer => {
  byId('way').hidden = false;
  show(byId('way'), answer.html);
});
onSubmit('fault-form', values => ({
  fault: {function: values.function, nth: Number(values.nth), code: Number(values.code), may: true},
}));
onSubmit('delay-form', values => ({gateway: {answersAfterMs: Number(values.answersAfterMs)}}));
onSubmit('advance-form', values => ({advance: Number(values.advance)}));

// ---- begin ----

findToken().then(listen);
)js";

}  // namespace vorn_onu::page

#endif
