// For exiting_host when it is built for the address sanitizer.
//
// When the process ends in the middle of a TLS handshake, now and then the thread of Qt's that carries it out
// does not get round to freeing what OpenSSL made for the connection. The process is over, so nothing is
// lost; leaks elsewhere are still found.

extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();

const char* __lsan_default_suppressions()
{
    return "leak:libcrypto.so\n";
}
