#!/bin/bash
# Starts the ward collector: a private PostgreSQL cluster and an rsyslogd that receives RELP and
# RELP over TLS from the tablets' `mvutil ship`. Everything it keeps (database, sockets, logs,
# pid files, the tablets' files) goes under DIR.
#
#   examples/collector/start.sh DIR
#
# Environment, with defaults:
#   RELP_PORT=2514      RELP (the shipper's default destination)
#   RELP_TLS_PORT=2515  RELP over TLS; every tablet must show a certificate of TLS_CA
#   PGPORT=5433         PostgreSQL, on a Unix socket in DIR only (no TCP)
#   TLS_CA, TLS_CERT, TLS_KEY  the ward's authority and the collector's certificate and key (PEM).
#       Without them, a private authority is made in DIR/tls with a certificate for localhost and
#       127.0.0.1 and one tablet certificate (DIR/tls/tablet.pem, DIR/tls/tablet-key.pem), for
#       trying it out.
#
# The database is tavro_logs, reachable as  psql -h DIR -p $PGPORT -U postgres -d tavro_logs
# with trust on that socket only. Started as root, PostgreSQL runs as the user postgres (or
# nobody). stop.sh DIR stops both.
set -euo pipefail

if [ $# -ne 1 ]; then
  echo "usage: $0 DIR" >&2
  exit 2
fi
HERE=$(cd "$(dirname "$0")" && pwd)
DIR=$(realpath -m "$1")
RELP_PORT=${RELP_PORT:-2514}
RELP_TLS_PORT=${RELP_TLS_PORT:-2515}
PGPORT=${PGPORT:-5433}
PG_BIN=${PG_BIN:-$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | sort -V | tail -n 1)}
RSYSLOGD=${RSYSLOGD:-/usr/sbin/rsyslogd}

for tool in "$PG_BIN/initdb" "$PG_BIN/pg_ctl" "$RSYSLOGD"; do
  [ -x "$tool" ] || { echo "start.sh: $tool not found (apt-get install postgresql rsyslog rsyslog-relp rsyslog-pgsql)" >&2; exit 1; }
done
mkdir -p "$DIR/tablets" "$DIR/rsyslog" "$DIR/tls"

# PostgreSQL refuses to run as root; as root it runs as an unprivileged user that owns its files.
as_db_user=()
if [ "$(id -u)" -eq 0 ]; then
  db_user=postgres
  id "$db_user" >/dev/null 2>&1 || db_user=nobody
  as_db_user=(runuser -u "$db_user" --)
  mkdir -p "$DIR/pgdata"
  chown "$db_user" "$DIR" "$DIR/pgdata"
fi

if [ ! -s "$DIR/pgdata/PG_VERSION" ]; then
  "${as_db_user[@]}" "$PG_BIN/initdb" -D "$DIR/pgdata" -U postgres --auth-local=trust --auth-host=reject \
    --encoding=UTF8 --no-locale >"$DIR/initdb.log" 2>&1 || { cat "$DIR/initdb.log" >&2; exit 1; }
fi
# No TCP at all; the socket and the lock file live in DIR.
"${as_db_user[@]}" "$PG_BIN/pg_ctl" -D "$DIR/pgdata" -l "$DIR/postgres.log" -w \
  -o "-p $PGPORT -k $DIR -c listen_addresses=''" start >/dev/null
psql_admin() { "$PG_BIN/psql" -h "$DIR" -p "$PGPORT" -U postgres -v ON_ERROR_STOP=1 -q "$@"; }
if ! psql_admin -d postgres -tAc "SELECT 1 FROM pg_database WHERE datname = 'tavro_logs'" | grep -q 1; then
  psql_admin -d postgres -c "CREATE DATABASE tavro_logs"
fi
psql_admin -d tavro_logs -f "$HERE/schema.sql"

if [ -z "${TLS_CA:-}${TLS_CERT:-}${TLS_KEY:-}" ]; then
  TLS_CA=$DIR/tls/ca.pem TLS_CERT=$DIR/tls/collector.pem TLS_KEY=$DIR/tls/collector-key.pem
  if [ ! -s "$TLS_CA" ]; then
    command -v certtool >/dev/null || { echo "start.sh: certtool not found (apt-get install gnutls-bin)" >&2; exit 1; }
    make_pair() {  # NAME TEMPLATE-LINES [CA]
      certtool --generate-privkey --key-type=rsa --bits=2048 --no-text --outfile "$DIR/tls/$1-key.pem" 2>/dev/null
      printf '%s\n' "$2" >"$DIR/tls/$1.tmpl"
      if [ "$1" = ca ]; then
        certtool --generate-self-signed --no-text --load-privkey "$DIR/tls/ca-key.pem" \
          --template "$DIR/tls/ca.tmpl" --outfile "$DIR/tls/ca.pem" 2>/dev/null
      else
        certtool --generate-certificate --no-text --load-privkey "$DIR/tls/$1-key.pem" \
          --load-ca-certificate "$DIR/tls/ca.pem" --load-ca-privkey "$DIR/tls/ca-key.pem" \
          --template "$DIR/tls/$1.tmpl" --outfile "$DIR/tls/$1.pem" 2>/dev/null
      fi
    }
    make_pair ca $'cn = "Ward collector test CA"\nca\ncert_signing_key\nexpiration_days = 365'
    make_pair collector $'cn = "localhost"\ndns_name = "localhost"\nip_address = "127.0.0.1"\ntls_www_server\nsigning_key\nencryption_key\nexpiration_days = 365'
    make_pair tablet $'cn = "tablet"\ntls_www_client\nsigning_key\nencryption_key\nexpiration_days = 365'
  fi
fi
for file in "$TLS_CA" "$TLS_CERT" "$TLS_KEY"; do
  [ -r "$file" ] || { echo "start.sh: cannot read $file" >&2; exit 1; }
done

sed -e "s|@DIR@|$DIR|g" -e "s|@RELP_PORT@|$RELP_PORT|g" -e "s|@RELP_TLS_PORT@|$RELP_TLS_PORT|g" \
    -e "s|@PGPORT@|$PGPORT|g" -e "s|@TLS_CA@|$TLS_CA|g" -e "s|@TLS_CERT@|$TLS_CERT|g" \
    -e "s|@TLS_KEY@|$TLS_KEY|g" "$HERE/rsyslog.conf" >"$DIR/rsyslog/rsyslog.conf"
"$RSYSLOGD" -N1 -f "$DIR/rsyslog/rsyslog.conf" >"$DIR/rsyslog/check.log" 2>&1 || { cat "$DIR/rsyslog/check.log" >&2; exit 1; }
"$RSYSLOGD" -f "$DIR/rsyslog/rsyslog.conf" -i "$DIR/rsyslog/rsyslogd.pid"

# Started when both ports listen.
for _ in $(seq 100); do
  if ss -Hltn "sport = :$RELP_PORT" | grep -q . && ss -Hltn "sport = :$RELP_TLS_PORT" | grep -q .; then
    echo "collector: RELP on $RELP_PORT, RELP over TLS on $RELP_TLS_PORT (authority $TLS_CA)"
    echo "database:  psql -h $DIR -p $PGPORT -U postgres -d tavro_logs"
    exit 0
  fi
  sleep 0.1
done
echo "start.sh: rsyslogd is not listening on $RELP_PORT and $RELP_TLS_PORT; see $DIR/rsyslog/rsyslogd.log" >&2
exit 1
