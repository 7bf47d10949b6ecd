// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Buttons and forms with data-api call the API; the markup says which call, so that no page needs a
// script of its own.

import {refresh_all} from './live.js';
import {announce, ask, call, capitalized, make, make_table} from './page.js';

function value_of(field) {
  if (field.type === 'checkbox') return field.checked;
  const is_number = field.type === 'number' || field.dataset.as === 'integer';
  return is_number && /^-?\d+$/.test(field.value) ? Number(field.value) : field.value;
}

function body_of(form) {
  const body = {};
  for (const field of form.elements) {
    if (!field.name || field.type === 'file') continue;
    if ('optional' in field.dataset && field.value === '') continue;
    body[field.name] = value_of(field);
  }
  return body;
}

// A list of things as a table of the columns that the markup names, and one thing as the text in it
// that the markup names, with what there is to say of it.
function show_result({columns, done, result, shows}, answer) {
  const element = document.getElementById(result);
  if (shows) {
    element.replaceChildren(make('p', {}, done),
      make('p', {}, make('code', {class: 'whole'}, answer[shows])));
  } else if (answer.length === 0) {
    element.replaceChildren(make('p', {class: 'notice good'}, 'Nothing was found.'));
  } else {
    const names = columns.split(' ');
    const cells = answer.map((row) => names.map((name) => String(row[name] ?? '')));
    element.replaceChildren(make_table('Result', names.map(capitalized), cells));
  }
}

export function clear_field_error(field) {
  document.getElementById(field.id + '-error')?.remove();
  field.removeAttribute('aria-invalid');
  const others = (field.getAttribute('aria-describedby') ?? '').split(' ')
    .filter((id) => id && id !== field.id + '-error');
  if (others.length > 0) {
    field.setAttribute('aria-describedby', others.join(' '));
  } else {
    field.removeAttribute('aria-describedby');
  }
}

export function show_field_error(field, text) {
  clear_field_error(field);
  const id = field.id + '-error';
  (field.closest('.input') ?? field).after(make('p', {class: 'error', id, 'data-own': true}, text));
  field.setAttribute('aria-invalid', 'true');
  const others = field.getAttribute('aria-describedby');
  field.setAttribute('aria-describedby', others ? `${id} ${others}` : id);
}

function show_error(error, form) {
  announce(error.message, true);
  const field = error.key && form && form.elements.namedItem(error.key);
  if (!field) return;
  show_field_error(field, error.message);
  field.focus();
}

const busy = new WeakSet();

// Does what the element says, once at a time: whoever presses Enter twice means it once. Its form,
// if it is one, tells the body.
async function act(element, form) {
  const {api, method = 'POST', body, ask: question, first, done, go, result, shows} = element.dataset;
  if (busy.has(element)) return;
  busy.add(element);
  try {
    if (question && !(await ask(question, element.textContent.trim()))) return;
    // Looking first shows that this page still reaches the adapter, and what there is to act upon.
    if (first) await call('GET', first);
    const answer = await call(method, api, form ? body_of(form) : body ? JSON.parse(body) : {});
    if (result) show_result(element.dataset, answer);
    if (go) return location.assign(go);
    if (form && (!result || shows)) form.reset();
    if (done) announce(done);
    busy.delete(element);
    await refresh_all();
    // Where the button went with what it deleted, the focus must not be lost.
    if (document.activeElement === document.body) document.getElementById('main').focus();
  } catch (error) {
    show_error(error, form);
  } finally {
    busy.delete(element);
  }
}

async function read_file(input) {
  const [file] = input.files;
  if (file) document.getElementById(input.dataset.readsInto).value = await file.text();
}

export function serve_actions() {
  document.addEventListener('click', (event) => {
    const button = event.target.closest('button[data-api]');
    if (!button || button.disabled) return;
    event.preventDefault();
    act(button, null);
  });
  document.addEventListener('submit', (event) => {
    const form = event.target.closest('form[data-api]');
    if (!form) return;
    event.preventDefault();
    for (const field of form.elements) {
      if (field.hasAttribute('aria-invalid')) clear_field_error(field);
    }
    act(form, form);
  });
  document.addEventListener('change', (event) => {
    if (event.target.dataset.readsInto) read_file(event.target);
  });
}
