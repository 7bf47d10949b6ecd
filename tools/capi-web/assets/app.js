// SPDX-FileCopyrightText: The capi authors
// SPDX-License-Identifier: MIT
// Makes the pages live. All that they show comes from the server as HTML, and can be read without.

import {serve_actions} from './actions.js';
import {count_down} from './pending.js';
import {go_live} from './live.js';
import {serve_settings} from './settings.js';

document.documentElement.dataset.script = '';
if (document.getElementById('status')) {
  serve_actions();
  serve_settings();
  count_down();
  go_live();
}
