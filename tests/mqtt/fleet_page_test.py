# SPDX-FileCopyrightText: The capi authors
# SPDX-License-Identifier: MIT
"""The commands of docs/fleet.md, one after the other, as they stand there."""
import json
import os
import re
import subprocess

import fleet

# What a test has another way for: services, the users of a whole system, and its names.
SURROUNDINGS = """
chown() { :; }
wait_for() { timeout 60 bash -c "until grep -q '$2' '$1'; do sleep 0.1; done" || cat "$1"; }
systemctl() {
  case $* in
    'restart mosquitto')
      printf 'user root\\nlog_dest stderr\\ninclude_dir /etc/mosquitto/conf.d\\n' >/tmp/mosquitto.conf
      PATH=$PATH:/usr/sbin mosquitto -c /tmp/mosquitto.conf >/tmp/mosquitto.log 2>&1 3>&- &
      BROKER_PID=$!
      wait_for /tmp/mosquitto.log 'mosquitto version .* running'
      ;;
    'reload mosquitto')
      kill -HUP $BROKER_PID
      wait_for /tmp/mosquitto.log 'Reloading config'
      ;;
    'enable --now capi-mqtt')
      $BRIDGE >/tmp/bridge.log 2>&1 3>&- &
      BRIDGE_PID=$!
      wait_for /tmp/bridge.log 'connected to broker.example.net:8883 as 2604000123456'
      ;;
    'disable --now capi-mqtt')
      kill $BRIDGE_PID
      wait $BRIDGE_PID
      ;;
    *) echo "systemctl $*: the test has no such service" ;;
  esac
}
capictl() {
  # The bridge writes what it counts some seconds later.
  [ "$1" != metrics ] || wait_for /run/capi-mqtt/counters '^connected 1$'
  $CAPICTL "$@"
}
"""

PASSING = (  # what is another one each time
    (r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", "TIME"),
    (r'"generation":\d+', '"generation":N'),
    (r'"boot":"[0-9a-f-]{36}"', '"boot":"UUID"'),
    (r'"connection":\d+', '"connection":N'),
)


def page():
    with open(os.path.join(fleet.SOURCE, "docs/fleet.md"), encoding="utf-8") as file:
        return file.read()


def blocks(language):
    return re.findall(rf"^```{language}\n(.*?)^```$", page(), re.MULTILINE | re.DOTALL)


def without_passing(text):
    for pattern, word in PASSING:
        text = re.sub(pattern, word, text)
    return text


def commands():
    """Each command and what it prints."""
    found = []
    for block in blocks("console"):
        for line in block.splitlines():
            if line.startswith("$ "):
                found.append([line[2:], ""])
            elif line.startswith("> "):
                found[-1][0] += "\n" + line[2:]
            else:
                found[-1][1] += line + "\n"
    return found


class Page(fleet.Test):
    def test_its_commands_print_what_it_says(self):
        with open("/etc/hosts", "a", encoding="utf-8") as file:
            file.write("127.0.0.1 broker.example.net\n")
        os.makedirs("/etc/mosquitto/conf.d", exist_ok=True)
        steps = commands()
        script = SURROUNDINGS + "".join(f"{command}\necho '@@@'\n" for command, _ in steps)
        script += "kill $(jobs -p)\n"
        emulator = " ".join(fleet.EMULATOR)
        done = subprocess.run(
            ["bash", "-u", "-c", script], cwd=fleet.SOURCE, text=True, timeout=240,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
            env={**os.environ, "CAPICTL": f"{emulator} {fleet.CAPICTL}",
                 "BRIDGE": f"{emulator} {fleet.BRIDGE}"})
        outputs = done.stdout.split("@@@\n")
        self.assertEqual(len(outputs), len(steps) + 1, done.stdout)
        for (command, wanted), output in zip(steps, outputs):
            self.assertEqual(without_passing(output), without_passing(wanted), command)

    def test_prometheus_takes_its_rules(self):
        (rules,) = blocks("yaml")
        with open("/tmp/rules.yml", "w", encoding="utf-8") as file:
            file.write(rules)
        checked = subprocess.run(["promtool", "check", "rules", "/tmp/rules.yml"], text=True,
                                 stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        self.assertEqual(checked.returncode, 0, checked.stdout)

    def test_its_rules_find_who_is_not_connected(self):
        (rules,) = blocks("yaml")
        with open("/tmp/rules.yml", "w", encoding="utf-8") as file:
            file.write(rules)
        up = [{"series": f'capi_up{{instance="{one}"}}', "values": "1x20"}
              for one in ("well", "lost", "dead")]
        connected = [{"series": f'capi_mqtt_connected{{instance="{one}"}}', "values": f"{value}x20"}
                     for one, value in (("well", 1), ("lost", 0))]
        told = [{"exp_labels": {"instance": one}} for one in ("dead", "lost")]
        with open("/tmp/rules_test.yml", "w", encoding="utf-8") as file:
            json.dump({"rule_files": ["/tmp/rules.yml"], "tests": [{
                "interval": "1m", "input_series": up + connected, "alert_rule_test": [{
                    "eval_time": "15m", "alertname": "AdapterNotConnected", "exp_alerts": told}]}]},
                      file)
        tested = subprocess.run(["promtool", "test", "rules", "/tmp/rules_test.yml"], text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        self.assertEqual(tested.returncode, 0, tested.stdout)

    def test_its_rules_name_metrics_that_there_are(self):
        os.makedirs("/run/capi-mqtt", exist_ok=True)
        with open("/run/capi-mqtt/counters", "w", encoding="utf-8") as file:
            file.write("connected 1\n")
        metrics = fleet.capictl("metrics")
        os.remove("/run/capi-mqtt/counters")
        (rules,) = blocks("yaml")
        names = re.findall(r"capi_mqtt_\w+", rules)
        self.assertTrue(names)
        for name in names:
            self.assertRegex(metrics, rf"(?m)^{name}[ {{]")


if __name__ == "__main__":
    fleet.main()
