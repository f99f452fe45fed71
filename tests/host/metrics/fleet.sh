#!/usr/bin/env bash
# Two watchdogs and the real Prometheus with the shipped rules: both are scraped, and
# when one is stopped, the alert comes for that one and no other.
#
#   fleet.sh PLUGIN FOLDER VESKD...   FOLDER is packaging/prometheus, VESKD a command
set -euo pipefail
plugin=$1 shipped=$2
shift 2
veskd=("$@")
patience=60 # seconds for anything to happen; most takes a second

folder=$(mktemp -d)
declare -A pids
clean_up() {
  status=$?
  for pid in "${pids[@]}"; do kill -KILL "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  [ $status -eq 0 ] || tail -n 20 "$folder"/*.log
  rm -rf "$folder"
}
trap clean_up EXIT
trap 'exit 130' INT TERM

# A port on which nobody listens, below those that the kernel gives to clients.
free_port() {
  local port
  while port=$((10000 + RANDOM % 20000)); (: <"/dev/tcp/127.0.0.1/$port") 2>/dev/null; do :; done
  echo "$port"
}

# start_logged NAME COMMAND...: ends with this script, even if that is killed.
start_logged() {
  local name=$1
  shift
  setpriv --pdeathsig KILL "$@" >"$folder/$name.log" 2>&1 </dev/null &
  pids[$name]=$!
}

# await WHAT COMMAND...: until the command succeeds.
await() {
  local what=$1 deadline=$((SECONDS + patience))
  shift
  until "$@"; do
    [ $SECONDS -lt $deadline ] || { echo "in vain awaited: $what" >&2; exit 1; }
    sleep 0.1
  done
}

# query EXPRESSION: the result as JSON, once Prometheus answers.
query() {
  curl -sf --data-urlencode "query=$1" "http://127.0.0.1:$prometheus_port/api/v1/query" |
    jq -ce 'select(.status == "success").data.result'
}

# holds EXPRESSION HOSTS: whether exactly these hosts fulfil it.
holds() {
  [ "$(query "$1" | jq -r '[.[].metric.instance] | sort | join(" ")')" = "$2" ]
}

scrape_text() { curl -sf "http://$1/metrics"; }

hosts=()
for name in first second; do
  address=127.0.0.1:$(free_port)
  hosts+=("$address")
  cat >"$folder/$name.toml" <<TOML
[host]
plugins = ["$plugin"]
metrics_address = "$address"
[watchdog.process]
cpu_enabled = true
mem_enabled = true
inst_enabled = true
sample_time = 1
[watchdog.process.1]
name = "$name"
cpu_enabled = true
cpu_limit = 100
TOML
  start_logged $name "${veskd[@]}" -c "$folder/$name.toml"
  await "metrics of $name" scrape_text "$address" >/dev/null
done
# The port gives metrics alone, and to one host.
for asked in "GET /metrics 200" "POST /metrics 405" "GET /v1/status 404"; do
  read -r method path status <<<"$asked"
  [ "$(curl -so /dev/null -w '%{http_code}' -X "$method" "http://$address$path")" = "$status" ] ||
    { echo "$method $path is not answered with $status" >&2; exit 1; }
done
status=0
timeout -k 1 $patience "${veskd[@]}" -c "$folder/second.toml" 2>/dev/null || status=$?
[ $status -eq 73 ] || { echo "a port in use: exit status $status" >&2; exit 1; }
both=$(printf '%s\n' "${hosts[@]}" | sort | paste -sd' ')

# The shipped files, in a hurry. Two scrapes must be missed for the alert, so that a
# slow machine does not count as a silent host.
sed 's/for: .*/for: 2s/' "$shipped/veskd.rules.yml" >"$folder/veskd.rules.yml"
sed -E 's/_interval: .*/_interval: 1s/
        s/192.0.2.11:.*/'"${hosts[0]}"'/; s/192.0.2.12:.*/'"${hosts[1]}"'/; /192.0.2.13/d' \
  "$shipped/scrape.yml" >"$folder/prometheus.yml"
prometheus_port=$(free_port)
start_logged prometheus prometheus --config.file="$folder/prometheus.yml" \
  --web.listen-address="127.0.0.1:$prometheus_port" --storage.tsdb.path="$folder/data" --log.level=warn

await "both targets up" holds 'up{job="veskd"} == 1' "$both"
await "passes of both" holds 'increase(veskd_passes_total[1m]) > 0' "$both"
await "an evaluation of the rules" holds 'veskd:last_pass_age:seconds < 60' "$both"
await "the cost of both" \
  holds 'process_resident_memory_bytes > 1e6 and process_resident_memory_bytes < 1e9 and
    process_virtual_memory_bytes >= process_resident_memory_bytes and
    process_open_fds > 3 and process_open_fds < 60 and process_cpu_seconds_total > 0' "$both"
await "entries of both" \
  holds 'veskd_entry_cpu_limit_ratio == 1 and on (instance) wd_proc_count == 0' "$both"
holds 'ALERTS{alertstate="firing"}' '' || { query ALERTS; exit 1; }

# The dashboard asks nothing that Prometheus does not understand.
questions=0
while read -r expression; do
  query "$expression" >/dev/null || { echo "not understood: $expression" >&2; exit 1; }
  questions=$((questions + 1))
done < <(jq -r '.panels[].targets[]?.expr' "$shipped/grafana-dashboard.json" |
  sed 's/\$__rate_interval/1m/; s/\$job/veskd/; s/\$\(instance\|entry\)/.*/')
[ $questions -gt 20 ]

kill -TERM "${pids[first]}"
await "the alert for the one that was stopped" \
  holds 'ALERTS{alertname="VeskdSilent", alertstate="firing"}' "${hosts[0]}"
holds 'ALERTS{alertstate="firing"}' "${hosts[0]}" || { query ALERTS; exit 1; }
await "an answer of the other one" holds 'up{job="veskd"} == 1' "${hosts[1]}"
