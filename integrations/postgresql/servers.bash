# Sourced by the tests and the trial on two nodes: PostgreSQL servers of one's own. An installation
# is staged in a temporary folder, so the machine's own is not touched, and the servers run as an
# unprivileged user. Both end with the script, however it ends.

work=$(mktemp -d "${TMPDIR:-/tmp}/corvid-postgresql.XXXXXX")
pg_config=${PG_CONFIG:-pg_config}
bin=$work/stage$("$pg_config" --bindir)
servers=()

end_servers() {
  local name
  trap '' PIPE  # also when nobody reads any more
  for name in "${servers[@]}"; do
    as_server "$bin/pg_ctl" stop -s -m immediate -D "$work/$name" || true
  done
  rm -rf "$work"
}
trap end_servers EXIT
trap 'exit 1' INT TERM

# The server refuses to run as root.
if ((EUID == 0)); then
  server_user=$(id -un postgres 2> /dev/null || echo nobody)
  as_server() { setpriv --reuid "$server_user" --regid "$(id -g "$server_user")" --clear-groups \
    env -C / "$@"; }
else
  server_user=$(id -un)
  as_server() { "$@"; }
fi

# stage LIBRARY-BUILD EXTENSION-BUILD: copies PostgreSQL, which finds its files relative to its
# programs, installs the library, and builds and installs the extension against it, compiled with
# $extension_flags.
stage() {
  local stage=$work/stage folder
  for folder in "$("$pg_config" --pkglibdir)" "$("$pg_config" --sharedir)"; do
    mkdir -p "$stage$(dirname "$folder")"
    cp -rs "$folder" "$stage$(dirname "$folder")/"
  done
  mkdir -p "$bin"
  cp -L "$("$pg_config" --bindir)"/{initdb,pg_ctl,postgres} "$bin"
  cmake --install "$1" --prefix "$work/corvid" > /dev/null
  cmake -S integrations/postgresql -B "$2" -G Ninja -DPG_CONFIG="$(command -v "$pg_config")" \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_PREFIX_PATH="$work/corvid" \
    -DCMAKE_C_FLAGS="${extension_flags:-}" > /dev/null
  cmake --build "$2"
  DESTDIR=$stage cmake --install "$2" > /dev/null
  chmod 755 "$work"
}

# start NAME [SETTING...]: a new server in the folder NAME, with its socket there.
start() {
  local name=$1 setting
  shift
  mkdir "$work/$name"
  chown "$server_user" "$work/$name"
  as_server "$bin/initdb" -A trust -U postgres -E UTF8 --locale=C.UTF-8 -N -D "$work/$name" \
    > "$work/$name.log"
  # The folder, and with it the socket, is the server's alone.
  printf '%s\n' 'local all all trust' 'host all all 127.0.0.1/32 scram-sha-256' \
    > "$work/$name/pg_hba.conf"
  for setting in "listen_addresses = ''" "unix_socket_directories = '$work/$name'" 'fsync = off' \
    "$@"; do
    echo "$setting" >> "$work/$name/postgresql.conf"
  done
  servers+=("$name")
  as_server "$bin/pg_ctl" start -s -w -D "$work/$name" -l "$work/$name/log" ||
    { cat "$work/$name/log" >&2; return 1; }
}

# run SERVER DATABASE [OPTION...]: psql, without a person's own settings.
run() {
  env -u PGOPTIONS PGCLIENTENCODING=UTF8 TZ=UTC psql -XqAt -v ON_ERROR_STOP=1 -h "$work/$1" \
    -p "$(sed -n 4p "$work/$1/postmaster.pid")" -U postgres -d "$2" "${@:3}"
}

# certificates [FILE...]: the base64 text of each certificate of PEM files, one a line.
certificates() {
  awk '/^-----END/ { print text; within = 0 }
       within { text = text $0 }
       /^-----BEGIN CERTIFICATE-----/ { text = ""; within = 1 }' "$@"
}
