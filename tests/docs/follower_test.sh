#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
#
# Checks that follow.py tells a page that can be followed from one that cannot.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
failures=0

# page ENDS-WITH SAYS NAME, and the page on standard input: what following it comes to.
page() {
  local status=0
  cat >page.md
  timeout 60 python3 "$here/follow.py" page.md >said 2>&1 || status=$?
  if [ $status -ne "$1" ] || ! grep -qF -- "$2" said; then
    echo "FAILED: $3: ended with $status and said:"
    cat said
    failures=$((failures + 1))
  fi
}

page 0 'cat greeting' 'files, what is printed, at once or later, variables that stay' <<'END'
<!-- example: greeting -->
```c
hello
```

```sh
cat greeting
name=$(date -u +%FT%TZ)
```

```text
hello
```

```sh
echo "at $name"
```

```text
at 2026-11-22T08:30:00Z
```

<!-- exit: 3 -->
```sh
sh -c 'exit 3'
true
```

```sh
(echo begun; exec sleep 100) &
```

```text
begun
```

```sh
kill %1
echo 'a, b and c at 2026-01-01T00:00:00Z'
```

```text
a…c at 2026-11-22T08:30:00Z
```
END
page 1 'instead of' 'another output' <<'END'
```sh
echo hello
```

```text
hullo
```
END
page 1 'instead of' 'more than is shown' <<'END'
```sh
echo hello; echo there
```

```text
hello
```
END
page 1 'ended with 1, not 0' 'a command that fails, though not the last one' <<'END'
```sh
false
true
```
END
page 1 'ended with 0, not 1' 'a command that ought to fail' <<'END'
<!-- exit: 1 -->
```sh
true
```
END
page 1 'no commands print this' 'an output of nothing' <<'END'
```text
hello
```
END
page 1 'has no commands' 'a page without commands' <<'END'
Nothing.
END
[ $failures -eq 0 ]
