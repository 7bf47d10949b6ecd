// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Shows how long a change still waits to be kept. The time itself is kept by the adapter.

let timer = 0;
let deadline = 0;
let told = '';

function show() {
  const pending = document.getElementById('pending');
  const number = pending?.querySelector('[data-countdown]');
  if (!number) {
    clearInterval(timer);
    timer = 0;
    return;
  }
  number.textContent = Math.max(0, Math.ceil((deadline - performance.now()) / 1000));
}

function begin() {
  const pending = document.getElementById('pending');
  if (!pending) {
    told = '';
    return;
  }
  // Each answer of the server tells the time anew.
  const tells = `${pending.dataset.change} ${pending.dataset.secondsLeft}`;
  if (tells !== told) deadline = performance.now() + 1000 * Number(pending.dataset.secondsLeft);
  told = tells;
  show();
  if (timer === 0) timer = setInterval(show, 1000);
}

export function count_down() {
  document.addEventListener('refreshed', begin);
  begin();
}
