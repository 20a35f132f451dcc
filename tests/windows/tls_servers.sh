#!/usr/bin/env bash
# tls_servers.sh start FOLDER: starts nginx with a certificate of each kind; "stop FOLDER" ends it. FOLDER/ports.txt then
# has a line for each kind, with its name and its port, and FOLDER/ca.pem is the authority that signed them.
set -euo pipefail
folder=$2
stop() { [ ! -e "$folder/nginx.pid" ] || kill "$(cat "$folder/nginx.pid")" 2>/dev/null || true; }
if [ "$1" = stop ]; then
  stop
  exit
fi
stop
rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"

# RSA, because Wine can't verify signatures with elliptic curves.
key() { openssl req -newkey rsa:2048 -nodes -batch "$@" 2>>openssl.log; }
key -x509 -days 2 -keyout ca.key -out ca.pem -subj /CN=Authority
# certificate NAME ALTERNATIVE-NAME DAYS
certificate() {
  key -keyout "$1.key" -out "$1.csr" -subj "/CN=$1" -addext "subjectAltName=$2"
  openssl x509 -req -in "$1.csr" -CA ca.pem -CAkey ca.key -CAcreateserial -copy_extensions copy -out "$1.pem" \
    -days "$3" 2>>openssl.log
}
certificate proper DNS:localhost 2
certificate expired DNS:localhost -1
certificate othername DNS:elsewhere.invalid 2

mapfile -t ports < <(python3 -c '
import socket
sockets = [socket.socket() for _ in range(3)]
for one in sockets:
    one.bind(("127.0.0.1", 0))
print(*(one.getsockname()[1] for one in sockets), sep="\n")')
servers='' next=0
for name in proper expired othername; do
  port=${ports[next++]}
  echo "$name $port" >>ports.txt
  servers+="server { listen 127.0.0.1:$port ssl; ssl_certificate $name.pem; ssl_certificate_key $name.key;"
  servers+=" location / { default_type application/json; return 200 '{\"success\":true,\"common\":true}'; } }
"
done
cat >nginx.conf <<CONF
pid nginx.pid; error_log error.log; events {}
http { access_log off; client_body_temp_path t; proxy_temp_path t; fastcgi_temp_path t;
uwsgi_temp_path t; scgi_temp_path t; ssl_protocols TLSv1.2 TLSv1.3;
$servers}
CONF
/usr/sbin/nginx -p "$folder/" -c nginx.conf -e "$folder/error.log" </dev/null >/dev/null 2>&1
