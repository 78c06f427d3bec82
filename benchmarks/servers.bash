# What the measuring scripts share: the servers side by side on free ports of 127.0.0.1, and the figures. It is
# sourced by a script that has set -e and `seconds`, how long to measure, and cleans up when that script ends.
# shellcheck shell=bash

tree=$(realpath "$(dirname "${BASH_SOURCE[0]}")/..")
release=$tree/build/release
work=$(mktemp -d)
nchan_module=/usr/lib/nginx/modules/ngx_nchan_module.so
declare -A port=() process=() started=() result=()

# shellcheck disable=SC2317 # called by the trap
clean_up() {
    ((${#started[@]} == 0)) || kill "${started[@]}" 2>/dev/null || true
    wait
    rm -r "$work"
}
trap clean_up EXIT

note() { printf '%s\n' "$*" >&2; }
fail() { note "$0: $*" && exit 1; }

build() {
    "$tree/scripts/setup"
    cd "$tree"
    cmake --preset release -DK7_BUILD_BENCHMARKS=ON
    cmake --build --preset release --target vexo-service contextplugin http-load
}

# The driver has one processor and the server another, as long as there are two: where the scheduler puts both
# decides more about the time to an answer than anything that is measured.
processors=$(taskset --cpu-list --pid $$ | sed 's/.*: //')
on_server_side=(taskset --cpu-list "${processors##*[,-]}")
on_driver_side=(taskset --cpu-list "${processors%%[,-]*}")

# Waits until nginx has answered its first request, or has ended.
await_nginx() {
    local name=$1 attempt
    for ((attempt = 0; attempt < 200; ++attempt)); do
        kill -0 "${started[$name]}" 2>/dev/null || return 1
        curl --fail --silent --output "$work/answered" "http://127.0.0.1:${port[$name]}/context.json" &&
            cmp --silent "$work/context.json" "$work/answered" && return 0
        sleep 0.05
    done
    return 1
}

stop() {
    kill "${started[$1]}"
    wait "${started[$1]}" || true
    unset "started[$1]"
}

start_host() {
    local port_file=$work/host.port attempt
    rm -f "$port_file"
    "${on_server_side[@]}" "$release/bin/vexo-service" --plugin "$release/plugins/libcontextplugin.so" --listen 127.0.0.1:0 \
        --port-file "$port_file" 2>"$work/host.log" &
    started[host]=$! process[host]=$!
    for ((attempt = 0; attempt < 200; ++attempt)); do
        [[ -e $port_file ]] && break
        kill -0 "${started[host]}" 2>/dev/null || break
        sleep 0.05
    done
    [[ -e $port_file ]] || fail "the host does not start: $(cat "$work/host.log")"
    port[host]=$(<"$port_file")
    curl --fail --silent --show-error --request PUT --data-binary "@$work/context.json" --header 'Content-Type:' \
        --output "$work/stored.json" "http://127.0.0.1:${port[host]}/context/bench"
    cmp "$work/context.json" "$work/stored.json" || fail 'the host does not answer with the bytes of the static file'
}

nginx_configuration() {
    local name=$1
    [[ $name == nchan ]] && printf 'load_module %s;\n' "$nchan_module"
    ((EUID == 0)) && printf 'user root;\n'
    cat <<CONFIGURATION
daemon off;
worker_processes 1;
worker_rlimit_nofile $(ulimit -n);
pid $work/$name.pid;
error_log $work/$name.log warn;
events { worker_connections 16384; }
http {
    access_log off;
    tcp_nodelay on;
    sendfile on;
    keepalive_timeout 300s;
    keepalive_requests 1000000000;
    default_type application/json;
    client_body_temp_path $work/$name-body;
    proxy_temp_path $work/$name-proxy;
    fastcgi_temp_path $work/$name-fastcgi;
    uwsgi_temp_path $work/$name-uwsgi;
    scgi_temp_path $work/$name-scgi;
    server {
        listen 127.0.0.1:${port[$name]} backlog=4096;
        root $work/static;
        location / { dav_methods PUT; }
CONFIGURATION
    if [[ $name == nchan ]]; then
        cat <<'CONFIGURATION'
        location ~ ^/publish/(\w+)$ {
            nchan_publisher;
            nchan_channel_id $1;
            nchan_message_buffer_length 1;
        }
        location ~ ^/subscribe/(\w+)$ {
            nchan_subscriber longpoll;
            nchan_channel_id $1;
            nchan_subscriber_first_message newest;
            nchan_subscriber_timeout 0;
        }
CONFIGURATION
    fi
    printf '    }\n}\n'
}

# nginx takes no port 0: a port that is in use shows when nginx ends, and the next one is tried.
start_nginx() {
    local name=$1 attempt
    for ((attempt = 0; attempt < 10; ++attempt)); do
        port[$name]=$((20000 + RANDOM % 10000))
        nginx_configuration "$name" >"$work/$name.conf"
        "${on_server_side[@]}" nginx -p "$work" -c "$work/$name.conf" 2>"$work/$name.start" &
        started[$name]=$!
        if await_nginx "$name"; then
            process[$name]=$(tr -d ' ' <"/proc/${started[$name]}/task/${started[$name]}/children") # the one worker
            return
        fi
        kill "${started[$name]}" 2>/dev/null || true
        wait "${started[$name]}" || true
    done
    fail "$name does not start: $(cat "$work/$name.start" "$work/$name.log" 2>&1)"
}

start() {
    if [[ $1 == host ]]; then start_host; else start_nginx "$1"; fi
}

# The 1 KiB context, in the form in which the host answers with it. "counter" is what the driver changes.
write_context() {
    local head tail
    head='{
    "case": "2024-001742",
    "counter": "00000000",
    "note": "'
    tail='",
    "patient": {
        "birthDate": "1961-04-12",
        "id": "756.0000.0000.01",
        "name": "Muster Anna"
    }
}
'
    printf '%s%s%s' "$head" "$(printf "%$((1024 - ${#head} - ${#tail}))s" '' | tr ' ' 'x')" "$tail" >"$work/context.json"
    mkdir "$work/static"
    cp "$work/context.json" "$work/static/"
}

# load KEY SERVER MODE OPTION...: one run of the driver; each figure goes to result[KEY SERVER FIGURE], a
# further value of the same figure behind the earlier ones.
load() {
    local key=$1 server=$2 mode=$3 figures figure value
    shift 3
    figures=$(timeout 120 "${on_driver_side[@]}" "$release/bin/http-load" "$mode" --port "${port[$server]}" \
        --process "${process[$server]}" --seconds "$seconds" "$@") || fail "$key on $server failed"
    while read -r figure value; do
        result["$key $server $figure"]+="$value"$'\n'
        note "$key $server $figure $value"
    done <<<"$figures"
}

# median KEY SERVER FIGURE: of what load() gathered; "–" where nothing was measured.
median() {
    local values=${result["$*"]-}
    if [[ -z $values ]]; then printf '–'; return; fi
    printf '%s' "$values" | sort -g | awk '{ all[NR] = $1 } END { print all[int((NR + 1) / 2)] }'
}

ratio() {
    awk -v left="$1" -v right="$2" 'BEGIN { if (left + 0 && right + 0) printf "%.2f", left / right; else printf "–" }'
}

print_machine() {
    printf 'Machine: %s processors (%s), %s GiB of memory, Linux %s.\n\n' "$(nproc)" \
        "$(sed -n 's/^model name.*: //p' /proc/cpuinfo | head -n 1)" \
        "$(awk '/^MemTotal/ { printf "%.0f", $2 / 1048576 }' /proc/meminfo)" "$(uname -r | grep -o "^[0-9]*\.[0-9]*")"
}

# row CELL...: one line of a Markdown table.
row() { printf '|' && printf ' %s |' "$@" && printf '\n'; }

# The servers that there are, in `servers`.
find_servers() {
    servers=(host)
    if ! command -v nginx >/dev/null; then
        note 'nginx is not installed: its columns stay empty'
    elif [[ -e $nchan_module ]]; then
        servers+=(nginx nchan)
    else
        servers+=(nginx)
        note 'nchan is not installed: its column stays empty'
    fi
}
