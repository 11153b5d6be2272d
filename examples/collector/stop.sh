#!/bin/bash
# Stops what start.sh DIR started: the collector's rsyslogd, then its PostgreSQL cluster. The data
# stays in DIR; start.sh DIR starts them again on it.
set -uo pipefail

if [ $# -ne 1 ]; then
  echo "usage: $0 DIR" >&2
  exit 2
fi
DIR=$(realpath -m "$1")
PG_BIN=${PG_BIN:-$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -n 1)}
status=0

if [ -s "$DIR/rsyslog/rsyslogd.pid" ]; then
  pid=$(cat "$DIR/rsyslog/rsyslogd.pid")
  if kill "$pid" 2>/dev/null; then
    # rsyslogd saves its queue to disk on the way out; wait for that.
    for _ in $(seq 100); do kill -0 "$pid" 2>/dev/null || break; sleep 0.1; done
    if kill -0 "$pid" 2>/dev/null; then
      echo "stop.sh: rsyslogd $pid did not stop" >&2
      status=1
    fi
  fi
  rm -f "$DIR/rsyslog/rsyslogd.pid"
fi

if [ -s "$DIR/pgdata/postmaster.pid" ]; then
  as_db_user=()
  [ "$(id -u)" -eq 0 ] && as_db_user=(runuser -u "$(stat -c %U "$DIR/pgdata")" --)
  "${as_db_user[@]}" "$PG_BIN/pg_ctl" -D "$DIR/pgdata" -m fast -w stop >/dev/null || status=1
fi
exit $status
