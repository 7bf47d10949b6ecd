// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// What all of the page's scripts use: elements, what is said to people, and calls of the API.

// An element with attributes and children; texts are texts.
export function make(name, attributes = {}, ...children) {
  const element = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) {
    if (value === true) {
      element.setAttribute(key, '');
    } else if (value !== false && value != null) {
      element.setAttribute(key, value);
    }
  }
  element.append(...children.flat());
  return element;
}

export const capitalized = (text) => text.charAt(0).toUpperCase() + text.slice(1);

// What the adapter says of something, as a sentence of its own.
export const sentence = (text) => capitalized(text) + '.';

// A table of rows of texts; the first cell of a row names it.
export function make_table(caption, columns, rows) {
  const head = columns.map((column) => make('th', {scope: 'col'}, column));
  const body = rows.map((row) => make('tr', {}, row.map((cell, at) =>
    at === 0 ? make('th', {scope: 'row', 'data-label': columns[0]}, cell)
             : make('td', {'data-label': columns[at]}, cell))));
  return make('table', {class: 'stack'}, make('caption', {}, caption),
    make('thead', {}, make('tr', {}, head)), make('tbody', {}, body));
}

const kLongEnough = 6000;
let timer = 0;

// Says something for a while; what went wrong stays until the next word.
export function announce(text, is_bad = false) {
  const status = document.getElementById('status');
  clearTimeout(timer);
  status.textContent = text;
  status.classList.toggle('bad', is_bad);
  if (!is_bad) timer = setTimeout(() => { status.textContent = ''; }, kLongEnough);
}

export function say_connection(text) {
  document.getElementById('connection').textContent = text;
}

// The page may stay all the same: its reader is asked where there is something to lose.
export function go_to_login() {
  location.assign('/login?next=' + encodeURIComponent(location.pathname + location.search));
}

export class ApiError extends Error {
  constructor({message, key, allowed}) {
    super(message);
    this.key = key;
    this.allowed = allowed;
  }
}

// What a page asks by itself does not keep its reader's login alive.
export const kOwnDoing = {'X-CAPI-Refresh': '1'};

// Calls the API and returns the answer's document.
export async function call(method, path, body, headers = {}) {
  const token = document.querySelector('meta[name="capi-token"]')?.content ?? '';
  const init = {method, headers: {Accept: 'application/json', 'X-CAPI-Token': token, ...headers}};
  if (method !== 'GET') {
    init.headers['Content-Type'] = 'application/json';
    init.body = JSON.stringify(body ?? {});
  }
  let answer;
  try {
    answer = await fetch(path, init);
  } catch {
    throw new ApiError({message: 'The adapter does not answer.'});
  }
  if (answer.status === 401) {
    go_to_login();
    throw new ApiError({message: 'The login is over. Log in to go on.'});
  }
  const text = await answer.text();
  let document_ = null;
  try {
    document_ = text ? JSON.parse(text) : {};
  } catch {
    throw new ApiError({message: `The answer (${answer.status}) is none of ours.`});
  }
  if (!answer.ok) {
    throw new ApiError(document_.error ?? {message: `The adapter refused it (${answer.status}).`});
  }
  return document_;
}

// Asks with a dialog; true when it is to be done.
export function ask(question, yes = 'Yes') {
  return new Promise((resolve) => {
    const go = make('button', {class: 'danger', type: 'button'}, yes);
    const stay = make('button', {type: 'button'}, 'Cancel');
    const text = make('p', {id: 'question'}, question);
    const dialog = make('dialog', {'aria-labelledby': 'question'}, text,
      make('p', {class: 'buttons'}, go, stay));
    go.addEventListener('click', () => dialog.close('yes'));
    stay.addEventListener('click', () => dialog.close(''));
    dialog.addEventListener('close', () => {
      dialog.remove();
      resolve(dialog.returnValue === 'yes');
    });
    document.body.append(dialog);
    dialog.showModal();
    stay.focus();
  });
}
