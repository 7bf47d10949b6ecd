// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// A shared worker: the one event stream of all pages that this browser has open. A browser opens
// six connections to a host, so a stream a page would lock out the seventh.

const kLongestWait = 30000;

const ports = new Set();
let stream = null;
let wait = 1000;
let timer = 0;
let is_lost = false;

function tell(message) {
  for (const port of ports) port.postMessage(message);
}

function connect() {
  clearTimeout(timer);
  stream?.close();
  stream = new EventSource('/api/1/events');
  stream.addEventListener('open', () => {
    wait = 1000;
    is_lost = false;
    tell({type: 'open'});
  });
  stream.addEventListener('change', (event) => {
    tell({type: 'change', topics: JSON.parse(event.data).topics});
  });
  stream.addEventListener('error', () => {
    // It tries again by itself, unless it was refused: then it is for us to.
    const refused = stream.readyState === EventSource.CLOSED;
    if (refused) {
      timer = setTimeout(connect, wait);
      wait = Math.min(2 * wait, kLongestWait);
    }
    is_lost = true;
    tell({type: 'lost', refused});
  });
}

self.addEventListener('connect', ({ports: [port]}) => {
  ports.add(port);
  port.addEventListener('message', ({data}) => {
    if (data !== 'leave') return;
    ports.delete(port);
    port.close();
    if (ports.size > 0) return;
    clearTimeout(timer);
    stream.close();
    stream = null;
    is_lost = false;
  });
  port.start();
  if (is_lost) port.postMessage({type: 'lost', refused: false});
  // A page that comes to a running stream missed nothing but what came while it loaded.
  if (stream === null || stream.readyState === EventSource.CLOSED) {
    connect();
  } else if (!is_lost) {
    port.postMessage({type: 'joined'});
  }
});
