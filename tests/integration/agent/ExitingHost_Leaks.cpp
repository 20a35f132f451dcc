// For exiting_host when it is built for the address sanitizer.
//
// When the process ends in the middle of a TLS handshake, Qt's thread for it sometimes has no time to free
// what OpenSSL allocated for the connection. That is harmless, since the process is over; leaks elsewhere are
// still found.

extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();

const char* __lsan_default_suppressions()
{
    return "leak:libcrypto.so\n";
}
