// A library with the procedure names of libssl, in the old or new generation.

#include <cstdint>
#include <cstdio>

// A procedure that is looked up but not called.
#define STUB(name) \
  extern "C" void name() {}

STUB(SSL_get_error)
STUB(SSL_CTX_new)
STUB(SSL_CTX_free)
STUB(SSL_CTX_ctrl)
STUB(SSL_CTX_use_certificate_chain_file)
STUB(SSL_CTX_use_PrivateKey_file)
STUB(SSL_new)
STUB(SSL_free)
STUB(SSL_set_fd)
STUB(SSL_accept)
STUB(SSL_pending)
STUB(SSL_read)
STUB(SSL_write)

#ifdef STUB_OLD_NAMES
STUB(SSLv23_server_method)
extern "C" int SSL_library_init() {
  std::fprintf(stderr, "library init\n");
  return 1;
}
extern "C" void SSL_load_error_strings() {
  std::fprintf(stderr, "load strings\n");
}
#else
STUB(TLS_server_method)
extern "C" int OPENSSL_init_ssl(std::uint64_t options, const void* settings) {
  std::fprintf(stderr, "init ssl %#llx %s\n",
               static_cast<unsigned long long>(options),
               settings == nullptr ? "no settings" : "settings");
  return STUB_INIT_RESULT;
}
#endif

namespace {
[[gnu::destructor]] void close_library() {
  std::fprintf(stderr, "ssl closed\n");
}
}  // namespace
