// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Keeps the parts of the page that are marked data-live="TOPIC..." as the server has them now. There
// is no polling: the server tells of changed topics, and then the page is fetched once.

import {announce, go_to_login, kOwnDoing, say_connection} from './page.js';

const topics_of = (part) => part.dataset.live.split(' ');
const live_parts = (root) => [...root.querySelectorAll('[data-live]')];

// ---- Making a part like another one, and touching only what differs ----

const key_of = (node) => (node.nodeType === Node.ELEMENT_NODE ? node.dataset.key || node.id : '');
const is_own = (node) => node.nodeType === Node.ELEMENT_NODE && 'own' in node.dataset;
const is_alike = (a, b) => a.nodeType === b.nodeType && a.nodeName === b.nodeName;

function morph_attributes(from, to) {
  for (const {name} of [...from.attributes]) {
    // What a person has unfolded stays so.
    if (!to.hasAttribute(name) && name !== 'open') from.removeAttribute(name);
  }
  for (const {name, value} of to.attributes) {
    if (from.getAttribute(name) !== value && name !== 'open') from.setAttribute(name, value);
  }
}

const default_option = (select) =>
  [...select.options].findIndex((option) => option.defaultSelected);

// Fields in which nobody has typed take the new value; the others keep what is in them.
function morph_field(field, change) {
  if (field.localName === 'select') {
    const is_untouched = field.selectedIndex === Math.max(default_option(field), 0);
    const value = field.value;
    change();
    if (is_untouched) {
      field.selectedIndex = Math.max(default_option(field), 0);
    } else {
      field.value = value;
    }
    return;
  }
  const tick = field.type === 'checkbox' || field.type === 'radio';
  const [now, initial] = tick ? ['checked', 'defaultChecked'] : ['value', 'defaultValue'];
  const is_untouched = field[now] === field[initial];
  change();
  if (is_untouched && field[now] !== field[initial]) field[now] = field[initial];
}

function morph_children(from, to) {
  const wanted = new Set([...to.childNodes].map(key_of).filter(Boolean));
  const keyed = new Map();
  for (const child of [...from.childNodes]) {
    const key = key_of(child);
    if (is_own(child) || !key) continue;
    if (wanted.has(key)) {
      keyed.set(key, child);
    } else {
      child.remove();
    }
  }
  let at = from.firstChild;
  const skip_own = () => {
    while (at && is_own(at)) at = at.nextSibling;
  };
  for (const next of [...to.childNodes]) {
    skip_own();
    const key = key_of(next);
    let match = key ? keyed.get(key) : null;
    if (!key && at && !key_of(at) && is_alike(at, next)) match = at;
    if (!match || !is_alike(match, next)) {
      const added = document.importNode(next, true);
      from.insertBefore(added, at);
      mark(added);
      continue;
    }
    if (match === at) {
      at = at.nextSibling;
    } else {
      from.insertBefore(match, at);
    }
    morph(match, next);
  }
  for (let rest = at; rest;) {
    const following = rest.nextSibling;
    if (!is_own(rest)) rest.remove();
    rest = following;
  }
}

// Shows for a moment that something is new.
function mark(node) {
  const element = node.nodeType === Node.TEXT_NODE ? node.parentElement : node;
  if (element?.nodeType !== Node.ELEMENT_NODE || !element.closest('main')) return;
  element.classList.remove('fresh');
  void element.getBoundingClientRect();
  element.classList.add('fresh');
}

export function morph(from, to) {
  if (from.nodeType === Node.TEXT_NODE) {
    if (from.data === to.data) return;
    const is_seen = to.data.trim() !== from.data.trim();
    from.data = to.data;
    if (is_seen) mark(from);
    return;
  }
  if (from.nodeType !== Node.ELEMENT_NODE) return;
  const change = () => {
    morph_attributes(from, to);
    if (from.localName !== 'textarea' || from.defaultValue !== to.defaultValue) {
      morph_children(from, to);
    }
  };
  if (['input', 'select', 'textarea'].includes(from.localName)) {
    morph_field(from, change);
  } else {
    change();
  }
}

// ---- Fetching the page again ----

const kSoon = 2000;

const waiting = new Set();
const postponed = new Set();
let later = 0;
let fetching = null;

// Of all that is fetched later there is one fetch.
function fetch_later(topics, after) {
  for (const topic of topics) postponed.add(topic);
  later ||= setTimeout(() => {
    later = 0;
    refresh(postponed);
    postponed.clear();
  }, after);
}

let was_sent_away = false;

// Null where the login is over. Who then stays is not asked again, and goes on with the next login.
async function fetch_page() {
  const headers = {Accept: 'text/html', ...kOwnDoing};
  const answer = await fetch(location.href, {headers, cache: 'no-store'});
  if (answer.redirected && new URL(answer.url).pathname === '/login') {
    if (!was_sent_away) go_to_login();
    was_sent_away = true;
    return null;
  }
  was_sent_away = false;
  const page = new DOMParser().parseFromString(await answer.text(), 'text/html');
  return {page, is_ok: answer.ok, retry_after: Number(answer.headers.get('Retry-After'))};
}

const main_of = (page) => page.getElementById('main');
const parts_of = (page) => live_parts(main_of(page)).map((part) => part.id).join(' ');

let has_told = false;

// After another login in another page of the browser the tokens are other ones.
function take_over_tokens(fresh) {
  for (const selector of ['meta[name="capi-token"]', '.logout [name="token"]']) {
    const token = fresh.querySelector(selector);
    if (token) morph(document.querySelector(selector), token);
  }
}

// What stands in the fields of a page is worth more than telling of an error in their place.
function tell_of_error(page) {
  has_told = true;
  announce(main_of(page).querySelector('.notice')?.textContent ?? 'The adapter has no answer.', true);
}

function take_over(answer, topics) {
  const fresh = answer.page;
  take_over_tokens(fresh);
  // Nobody tells when a lock is free again.
  if (answer.retry_after > 0) fetch_later(topics, 1000 * answer.retry_after);
  if (!answer.is_ok && parts_of(document) !== '') return tell_of_error(fresh);
  if (has_told) announce('');
  has_told = false;
  for (const part of live_parts(document)) {
    if (!topics_of(part).some((topic) => topics.has(topic))) continue;
    const now = fresh.getElementById(part.id);
    if (now) morph(part, now);
  }
  // A page that tells of an error becomes the one it stands for, once there is an adapter.
  if (parts_of(document) !== parts_of(fresh)) morph(main_of(document), main_of(fresh));
  document.dispatchEvent(new CustomEvent('refreshed'));
}

const concerns_us = (topic) => live_parts(document).some((part) => topics_of(part).includes(topic));

async function fetch_all_waiting() {
  while (waiting.size > 0) {
    const topics = new Set(waiting);
    waiting.clear();
    try {
      const answer = await fetch_page();
      if (answer) take_over(answer, topics);
    } catch {
      // Where the connection is lost the stream tells when it is back; it may be there all the time.
      for (const topic of topics) waiting.add(topic);
      if (!was_lost) fetch_later(topics, kSoon);
      break;
    }
  }
  fetching = null;
}

// Fetches until nothing is waiting; what comes meanwhile is one more fetch, however much. A page
// that nobody looks at waits until somebody does.
function fetch_waiting() {
  if (!document.hidden && waiting.size > 0) fetching ??= fetch_all_waiting();
  return fetching;
}

export function refresh(topics) {
  for (const topic of topics) {
    if (concerns_us(topic)) waiting.add(topic);
  }
  return fetch_waiting();
}

export function refresh_all() {
  return refresh(new Set(live_parts(document).flatMap(topics_of)));
}

// ---- The stream ----

const root = document.documentElement;
let was_lost = false;

// From the first word of the stream on the page is as the adapter is, and says so to the style.
async function hear(message) {
  if (message.type === 'lost') {
    delete root.dataset.connected;
    // Nobody is told twice of one interruption.
    if (!was_lost) say_connection('Connection lost, trying again');
    was_lost = true;
    // A refusal may be that of an expired session, which the page's own answer tells.
    if (message.refused) refresh_all();
    return;
  }
  const is_again = was_lost;
  if (is_again) {
    say_connection('');
    announce('Connected again');
  }
  was_lost = false;
  if (message.type === 'open') {
    await fetch_waiting();
    // One that has missed nothing is told nothing more.
    if (is_again) root.dataset.connected = '';
    return;
  }
  // A stream that was there already does not tell what changed while this page was loading.
  await (message.type === 'joined' ? refresh_all() : refresh(message.topics));
  root.dataset.connected = '';
}

function listen_alone() {
  const stream = new EventSource('/api/1/events');
  stream.addEventListener('open', () => hear({type: 'open'}));
  stream.addEventListener('change', (event) =>
    hear({type: 'change', topics: JSON.parse(event.data).topics}));
  stream.addEventListener('error', () => {
    const refused = stream.readyState === EventSource.CLOSED;
    hear({type: 'lost', refused});
    if (refused) setTimeout(listen, 5000);
  });
  return () => stream.close();
}

function listen_together() {
  const worker = new SharedWorker('/assets/events.js', {name: 'capi'});
  worker.port.addEventListener('message', ({data}) => hear(data));
  worker.port.start();
  return () => worker.port.postMessage('leave');
}

let leave = null;

function listen() {
  leave = 'SharedWorker' in window ? listen_together() : listen_alone();
}

export function go_live() {
  if (live_parts(document).length === 0) return;
  listen();
  document.addEventListener('visibilitychange', fetch_waiting);
  addEventListener('pagehide', () => leave());
  // A page that comes back out of the browser's cache has slept.
  addEventListener('pageshow', (event) => {
    if (!event.persisted) return;
    listen();
    refresh_all();
  });
}
