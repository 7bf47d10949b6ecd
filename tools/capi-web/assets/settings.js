// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Changes of settings are drafted, reviewed with what they do to the voice stacks' files, and then
// applied together. Drafts outlive a reload; those of secrets are kept in this page's memory alone.

import {clear_field_error, show_field_error} from './actions.js';
import {refresh, refresh_all} from './live.js';
import {announce, call, kOwnDoing, make, make_table, sentence} from './page.js';

const kStore = 'capi-drafts';
const kShown = {another: '(another one)', empty: '(empty)'};

let drafts = {};
const secrets = {};
const errors = {};
let reviewed = '';  // what the review shows, as the adapter told it; empty where none is open

const controls = () => [...document.querySelectorAll('form.settings [data-key]')];
const control_of = (key) => controls().find((control) => control.dataset.key === key);
const count = () => Object.keys(drafts).length + Object.keys(secrets).length;
const is_secret = (control) => 'secret' in control.dataset;
const shown = (text) => (text === '' ? kShown.empty : text);

function load() {
  try {
    drafts = JSON.parse(sessionStorage.getItem(kStore)) ?? {};
  } catch {
    drafts = {};
  }
}

function save() {
  sessionStorage.setItem(kStore, JSON.stringify(drafts));
}

// ---- Marks at the fields ----

function marks_of(control) {
  return control.closest('.field').querySelector('.draft');
}

function undo(control) {
  delete drafts[control.dataset.key];
  delete secrets[control.dataset.key];
  save();
  control.value = is_secret(control) ? '' : control.dataset.value;
  clear_field_error(control);
  delete errors[control.dataset.key];
  mark(control);
  show_bar();
  control.focus();
}

function text_of_mark(control) {
  if (is_secret(control)) return control.value === '' ? 'Will be emptied.' : 'Will be set.';
  const {from} = drafts[control.dataset.key];
  const now = control.dataset.value;
  return now === from ? `Now ${shown(now)}.`
                      : `Somebody has changed it meanwhile: it is ${shown(now)} now.`;
}

function mark(control) {
  const {key} = control.dataset;
  const is_drafted = key in drafts || key in secrets;
  const field = control.closest('.field');
  field.classList.toggle('drafted', is_drafted);
  marks_of(control)?.remove();
  if (is_drafted) {
    const button = make('button', {type: 'button', 'aria-label': `Undo the change of ${key}`}, 'Undo');
    button.addEventListener('click', () => undo(control));
    const text = make('p', {class: 'draft', 'data-own': true}, text_of_mark(control), ' ', button);
    field.querySelector('.input').after(text);
  }
  if (errors[key]) show_field_error(control, errors[key]);
}

// ---- The bar that counts ----

function show_bar() {
  const bar = document.getElementById('change-bar');
  if (!bar) return;
  const number = count();
  // A review has buttons of its own.
  bar.hidden = number === 0 || !document.getElementById('review').hidden;
  if (number === 0) {
    bar.replaceChildren();
    return;
  }
  const text = `${number} unsaved ${number === 1 ? 'change' : 'changes'}`;
  if (!bar.firstChild) {
    const review_button = make('button', {type: 'button', class: 'primary'}, 'Review');
    const discard_button = make('button', {type: 'button'}, 'Discard');
    review_button.addEventListener('click', review);
    discard_button.addEventListener('click', discard);
    bar.append(make('span', {'aria-live': 'polite'}), review_button, discard_button);
  }
  bar.firstChild.textContent = text;
}

function forget() {
  drafts = {};
  for (const all of [secrets, errors]) {
    for (const key of Object.keys(all)) delete all[key];
  }
  save();
  for (const control of controls()) {
    control.value = is_secret(control) ? '' : control.dataset.value;
    clear_field_error(control);
    mark(control);
  }
  show_bar();
}

function discard() {
  forget();
  hide_review();
  document.getElementById('main').focus();
  announce('The changes are discarded.');
}

// ---- Drafting ----

function draft(control, is_emptied = false) {
  const {key, value, type} = control.dataset;
  clear_field_error(control);
  delete errors[key];
  if (is_secret(control)) {
    if (control.value === '' && !is_emptied) {
      delete secrets[key];
    } else {
      secrets[key] = control.value;
    }
  } else if (control.value === value) {
    delete drafts[key];
  } else {
    drafts[key] = {value: control.value, type, from: drafts[key]?.from ?? value};
  }
  save();
  mark(control);
  // What was reviewed is something else now.
  hide_review();
}

// A secret's field is always empty, and nothing in it leaves what is set.
function empty(control) {
  control.value = '';
  draft(control, true);
}

// Puts the drafts into the fields, after a reload and after each refresh.
function decorate() {
  for (const control of controls()) {
    const {key} = control.dataset;
    const drafted = drafts[key];
    if (drafted && drafted.value === control.dataset.value) {
      // Somebody else has done the same.
      delete drafts[key];
    } else if (drafted && control.value !== drafted.value) {
      control.value = drafted.value;
    } else if (!drafted && !is_secret(control) && control.value !== control.dataset.value) {
      control.value = control.dataset.value;
    }
    mark(control);
  }
  save();
  show_bar();
}

// {"sip_line_1": {"display_name": "Hall"}}, as a document of settings has it.
function document_of_drafts() {
  const set = {};
  const add = (key, value) => {
    const dot = key.indexOf('.');
    (set[key.slice(0, dot)] ??= {})[key.slice(dot + 1)] = value;
  };
  for (const [key, {value, type}] of Object.entries(drafts)) {
    add(key, type === 'integer' && /^-?\d+$/.test(value) ? Number(value) : value);
  }
  for (const [key, value] of Object.entries(secrets)) add(key, value);
  return set;
}

// ---- Reviewing and applying ----

function hide_review() {
  const section = document.getElementById('review');
  if (!section) return;
  reviewed = '';
  section.hidden = true;
  section.replaceChildren();
  show_bar();
}

function tables_of(preview) {
  // Of a secret it is told only whether it is set.
  const changes = preview.changes.map(({key, old, new: then}) =>
    [make('code', {}, key), shown(old), then === old ? kShown.another : shown(then)]);
  const tables = [make_table('Settings', ['Key', 'Now', 'Then'], changes)];
  for (const {file, lines} of preview.files ?? []) {
    const rows = lines.map(({section, old, new: then}) =>
      [section ?? '', make('code', {}, old ?? ''), make('code', {}, then ?? '')]);
    const table = make_table('', ['Section', 'Line now', 'Line then'], rows);
    table.querySelector('caption').append('Voice stack\u2019s file ', make('code', {}, file));
    tables.push(table);
  }
  return tables;
}

function time_of({dataset: {seconds}}) {
  if (!seconds) return 'a while';
  return seconds === '60' ? 'a minute' : `${seconds} s`;
}

function show_review(preview) {
  const section = document.getElementById('review');
  const heading = make('h2', {id: 'review-h', tabindex: '-1'}, 'Review the changes');
  const buttons = make('p', {class: 'buttons'});
  const back = make('button', {type: 'button'}, 'Back');
  back.addEventListener('click', () => {
    hide_review();
    document.getElementById('main').focus();
  });
  if (preview.changes.length === 0) {
    section.replaceChildren(heading, make('p', {class: 'empty'}, 'All of it is so already.'), back);
  } else {
    reviewed = JSON.stringify(preview);
    const apply_button = make('button', {type: 'button', class: 'primary'}, 'Apply');
    apply_button.addEventListener('click', () => apply(apply_button));
    buttons.append(apply_button, back);
    section.replaceChildren(heading,
      make('p', {}, `After that you have ${time_of(section)} to keep the changes. If you do not, `,
        'because you cannot reach this page any more for instance, they go back by themselves.'),
      ...tables_of(preview), buttons);
  }
  section.hidden = false;
  show_bar();
  heading.focus();
}

function show_refusal(error) {
  announce(error.message, true);
  const control = error.key && control_of(error.key);
  if (control) {
    errors[error.key] = error.message;
    show_field_error(control, error.message);
    control.focus();
  } else if (error.key) {
    const section = document.getElementById('review');
    const to = '/settings?q=' + encodeURIComponent(error.key);
    section.replaceChildren(make('h2', {id: 'review-h'}, 'It cannot be applied'),
      make('p', {class: 'notice bad'}, error.message),
      make('p', {}, make('a', {href: to}, 'Go to ', make('code', {}, error.key))));
    section.hidden = false;
  }
}

const preview_of_drafts = (headers) =>
  call('POST', '/api/1/changes', {set: document_of_drafts(), dry_run: true}, headers);

async function review() {
  try {
    show_review(await preview_of_drafts());
  } catch (error) {
    show_refusal(error);
  }
}

// A review does what it shows. Once that would be something else, it has to be made anew.
async function look_again() {
  const shown_before = reviewed;
  if (shown_before === '') return;
  let preview;
  try {
    preview = await preview_of_drafts(kOwnDoing);
  } catch {
    return;
  }
  if (reviewed !== shown_before || JSON.stringify(preview) === shown_before) return;
  hide_review();
  announce('Somebody has changed meanwhile what you reviewed: look at it again.', true);
  (document.querySelector('#change-bar:not([hidden]) button') ?? document.getElementById('main')).focus();
}

async function apply(button) {
  button.disabled = true;
  reviewed = '';
  try {
    const {change} = await call('POST', '/api/1/changes', {set: document_of_drafts()});
    hide_review();
    forget();
    const way_back = 'Keep it within the time, or it goes back.';
    if (change.trouble) {
      announce(`${sentence(change.trouble)} ${way_back}`, true);
    } else {
      announce('Applied. ' + way_back);
    }
    await refresh_all();
    document.querySelector('#pending button')?.focus();
  } catch (error) {
    hide_review();
    show_refusal(error);
    await refresh(['config']);
  } finally {
    button.disabled = false;
  }
}

export function serve_settings() {
  load();
  document.addEventListener('input', (event) => {
    if (event.target.matches('form.settings [data-key]')) draft(event.target);
  });
  document.addEventListener('click', ({target: {dataset}}) => {
    if (dataset.empties) empty(control_of(dataset.empties));
  });
  document.addEventListener('keydown', (event) => {
    if (event.key !== 'Enter' || !event.target.matches('form.settings input')) return;
    event.preventDefault();
    if (count() > 0) review();
  });
  document.addEventListener('refreshed', () => {
    decorate();
    look_again();
  });
  addEventListener('beforeunload', (event) => {
    if (Object.keys(secrets).length > 0) event.preventDefault();
  });
  decorate();
}
