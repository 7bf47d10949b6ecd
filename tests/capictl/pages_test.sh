#!/bin/bash
# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
source "$(dirname "$0")/support.sh"

# offers EXPECTED WORD...: what the tool knows for the last of the words.
offers() {
  local expected=$1 actual
  shift
  actual=$("${tool[@]}" page complete -- "$@" 2>/tmp/errors | tr '\n' ' ')
  [ "${actual% }" = "$expected" ] || fail "for \"$*\" it offers \"$actual\": $(cat /tmp/errors)"
}

in_case 'Without an adapter there are commands, options, keys, signals and choices'
offers 'status signal stack-file sms schema' s
offers 'get set load reset confirm cancel pending list describe schema dump save diff lint watch' config ''
offers watch config w
offers '--help --interval --count --version --json --table --header --no-header --fields --show-secrets --verbose' config watch --
offers 'config device lines calls messages' monitor ''
offers '--diff' --json stack-file voip --d
offers 'volte voip vowifi' stack-file vo
offers received sms show r
offers 'sip_line_2.auth_name sip_line_2.auth_password' config set sip_line_2.a
offers sms.enable config get sms.sca sms.e
offers 'call_forward_1 call_forward_2' config list call_f
offers '--type --table' calls list --t
offers '' schema file si
offers '' calls show ''
offers 'vop_sig_voip_vm_off vop_sig_voip_vm_on' signal vop_sig_voip_vm
offers 'list show send mark-read delete clear backup check' help sms ''
offers '' calls list --since ''

in_case 'With one there are the calls and messages that it has'
start_adapter
others calls
expect 0 '' sms send +15551230002 hi
expect 0 '' sms send +15551230002 there
offers '1 0' calls show ''
offers '1' calls delete 1
offers '2 1' sms show sent ''
offers '' sms show received ''

in_case 'Who completes a line does not wait for a lock'
coproc HOLDER { exec "${emulator[@]}" "$others" hold 0; }
holder=$HOLDER_PID
read -r _ <&"${HOLDER[0]}"
offers '' calls show ''
[ -s /tmp/errors ] && fail "it said: $(cat /tmp/errors)"
eval "exec ${HOLDER[1]}>&-"
wait "$holder"

# A tool that completes, and otherwise tells what it was called with.
mkdir -p /tmp/bin /tmp/home
printf '#!/bin/sh\nif [ "$1" = page ]; then exec %s "$@"; fi\necho "$*" >/tmp/typing; mv /tmp/typing /tmp/typed\n' \
  "$(printf '%q ' "${tool[@]}")" >/tmp/bin/capictl
chmod +x /tmp/bin/capictl
export PATH=/tmp/bin:$PATH HOME=/tmp/home
for shell in bash zsh fish; do "${tool[@]}" page $shell >/tmp/completion.$shell; done
cat >/tmp/bashrc <<'END'
source /tmp/completion.bash
PS1='ready>'
END
mkdir -p /tmp/home/.config/fish
cat >/tmp/home/.zshrc <<'END'
autoload -U compinit && compinit -u -D
source /tmp/completion.zsh
PS1='ready>'
END
cat >/tmp/home/.config/fish/config.fish <<'END'
source /tmp/completion.fish
function fish_prompt; echo 'ready>'; end
set -g fish_greeting
END

# types EXPECTED KEYS SHELL...: what the tool is called with when somebody types these keys.
types() {
  local expected=$1 keys=$2
  shift 2
  rm -f /tmp/typed
  /usr/bin/python3 "$(dirname "$0")/typed.py" /tmp/typed "$keys" "$@" >/tmp/screen
  [ "$(cat /tmp/typed 2>/dev/null)" = "$expected" ] ||
    fail "$1 types \"$(cat /tmp/typed 2>/dev/null)\": $(cat /tmp/screen)"
}
for shell in 'bash --noprofile --rcfile /tmp/bashrc -i' 'zsh -i' 'fish -i'; do
  in_case "In ${shell%% *} the tabulator completes commands, keys, values and names of files"
  read -ra words <<<"$shell"
  command -v "${words[0]}" >/dev/null || fail 'it is not installed'
  types 'config set sms.enable 1' 'capictl conf\tse\tsms.en\t1\n' "${words[@]}"
  types 'signal vop_sig_voip_vm_on' 'capictl sig\tvop_sig_voip_vm_on\t\n' "${words[@]}"
  types 'sms show sent 2' 'capictl sms sho\tse\t2\t\n' "${words[@]}"
  types 'config lint /tmp/completion.bash' 'capictl config lin\t/tmp/completion.b\t\n' "${words[@]}"
done

in_case 'The reference of the keys is what the tool prints'
diff "$source_dir/docs/keys.md" <("${tool[@]}" page keys) ||
  fail 'docs/keys.md is stale: capictl page keys >docs/keys.md'

finish
