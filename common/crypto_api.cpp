#include "common/crypto_api.h"

#include <dlfcn.h>

#include <cassert>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "common/crypto_map.h"

namespace {

constexpr const char* LIBRARY = "libcrypto.so";
// Libraries, separated by commas, that have what LIBRARY lacks. They are opened
// only when a procedure of an optional group is not found in LIBRARY.
constexpr std::string_view DEPENDENCIES = "libssl.so";

bool enc_initialized = false;
std::uint32_t enc_init_mode = ENC_MODE_BASIC;
bool enc_loaded = false;             // a load was attempted
void* lib_handle = nullptr;          // null: the library is not available
std::vector<void*> dep_handle;       // in load order
bool enc_integrity_checked = false;  // no interposed library at the first load

void initialize(std::uint32_t mode) {
  if (enc_initialized) return;
  enc_initialized = true;
  enc_init_mode = mode;
}

void print_not_available() {
  std::fprintf(stderr, "Crypto library functionality is not available\n");
}

// Prints the loader's own words about what failed last, if it has any.
void print_loader_error() {
  const char* text = dlerror();
  if (text != nullptr) std::fprintf(stderr, "%s\n", text);
}

bool is_wanted(const fn_map_entry& entry) {
  return entry.mode == 0 || (enc_init_mode & entry.mode) != 0;
}

// ------------------------------------------------------------------- release

void clear_slots() {
  for (const fn_map_entry& entry : fn_map_required) {
    entry.slot->address = nullptr;
  }
  for (const fn_map_entry& entry : fn_map_optional) {
    entry.slot->address = nullptr;
  }
}

void cleanup_lib() {
  if (lib_handle == nullptr) return;
  if (ko__ERR_free_strings) ko__ERR_free_strings();
  if (ko__EVP_cleanup) ko__EVP_cleanup();
  if (dlclose(lib_handle) != 0) {
    std::fprintf(stderr, "Failed to release crypto library\n");
    print_loader_error();
  }
  while (!dep_handle.empty()) {
    if (dlclose(dep_handle.back()) != 0) {
      std::fprintf(stderr, "Failed to release crypto dependency\n");
      print_loader_error();
    }
    dep_handle.pop_back();
  }
  lib_handle = nullptr;
  clear_slots();
}

// ----------------------------------------------------------------- integrity

bool is_in_process(const char* name) {
  return name != nullptr && dlsym(RTLD_DEFAULT, name) != nullptr;
}

// Whether the process, which links no crypto library, already has one of the
// wanted procedures before the layer opens its library: something was preloaded
// that would take the library's place, and could see every key.
bool is_interposed() {
  for (const fn_map_entry& entry : fn_map_required) {
    if (!is_wanted(entry)) continue;
    if (is_in_process(entry.name)) return true;
    if (is_in_process(later_name(entry.name))) return true;
  }
  for (const fn_map_entry& entry : fn_map_optional) {
    if (is_wanted(entry) && is_in_process(entry.name)) return true;
  }
  return false;
}

// ---------------------------------------------------------------- resolution

// Searches the library, then its dependencies. Returns null when all lack it;
// the loader's error text is then about this name.
void* find_name(const char* name) {
  void* address = dlsym(lib_handle, name);
  for (void* handle : dep_handle) {
    if (address != nullptr) break;
    address = dlsym(handle, name);
  }
  return address;
}

void* find_procedure(const char* name) {
  void* address = find_name(name);
  if (address != nullptr) return address;
  const char* later = later_name(name);
  return later != nullptr ? find_name(later) : nullptr;
}

bool load_dependencies() {
  for (std::string_view rest = DEPENDENCIES; !rest.empty();) {
    const std::size_t comma = rest.find(',');
    const std::string name(rest.substr(0, comma));
    rest.remove_prefix(comma == std::string_view::npos ? rest.size()
                                                       : comma + 1);
    void* handle = dlopen(name.c_str(), RTLD_LAZY | RTLD_GLOBAL);
    if (handle == nullptr) {
      std::fprintf(stderr, "Failed to load crypto dependency '%s'\n",
                   name.c_str());
      print_loader_error();
      return false;
    }
    dep_handle.push_back(handle);
  }
  return true;
}

void print_not_found_header() {
  std::fprintf(stderr, "Required procedure not found in crypto library '%s'\n",
               LIBRARY);
}

void print_not_found(const char* name) {
  // Looked up once more, because a later name may have been tried since.
  static_cast<void>(find_name(name));
  const char* text = dlerror();
  if (text == nullptr) {
    std::fprintf(stderr, "%s\n", name);
    return;
  }
  const bool is_named = std::strstr(text, name) != nullptr;
  std::fprintf(stderr, "%s%s%s\n", is_named ? "" : name, is_named ? "" : ": ",
               text);
}

// A walk over one of the maps.
struct map_walk {
  bool fn_optional;                // which map
  const char* last_alt = nullptr;  // fn_alt of the previous entry
  bool found_preferred = false;    // an earlier name of the chain was found
  int* failures;                   // of both maps, counted
};

// Fills the entry's slot, or reports and counts its absence. Returns false,
// after a report, when the dependencies cannot be opened.
bool resolve_entry(map_walk& walk, const fn_map_entry* fn) {
  const bool fn_optional = walk.fn_optional;
  assert(fn_optional || fn->fn_alt == nullptr);
  const char* last_alt = walk.last_alt;
  if (!is_wanted(*fn)) {
    assert(last_alt == nullptr);
    return true;
  }
  assert(last_alt == nullptr || std::strcmp(fn->name, last_alt) == 0);
  walk.last_alt = fn->fn_alt;
  if (last_alt != nullptr && walk.found_preferred) return true;

  const bool ends_chain = last_alt != nullptr && fn->fn_alt == nullptr;
  const bool must_exist = !fn_optional || ends_chain;
  void* address = find_procedure(fn->name);
  if (address == nullptr && dep_handle.empty() && fn->mode != 0 && must_exist) {
    if (!load_dependencies()) return false;
    address = find_procedure(fn->name);
  }
  fn->slot->address = address;
  walk.found_preferred = address != nullptr;
  if (address == nullptr && must_exist) {
    // One header for all required procedures, one for each chain.
    if (fn_optional || *walk.failures == 0) print_not_found_header();
    print_not_found(fn->name);
    ++*walk.failures;
  }
  return true;
}

bool resolve_maps() {
  int failures = 0;
  map_walk required{.fn_optional = false, .failures = &failures};
  for (const fn_map_entry& entry : fn_map_required) {
    if (!resolve_entry(required, &entry)) return false;
  }
  map_walk optional{.fn_optional = true, .failures = &failures};
  for (const fn_map_entry& entry : fn_map_optional) {
    if (!resolve_entry(optional, &entry)) return false;
  }
  return failures == 0;
}

// ------------------------------------------------------------ initialisation

// Initialises the library's SSL part. Its procedures are resolved only when the
// SSL group is wanted, so otherwise this does nothing.
bool initialize_library() {
  // Load the error texts of the SSL part and of the crypto part.
  constexpr std::uint64_t OPTIONS = 0x00200002;
  if (ko__OPENSSL_init_ssl) {
    if (ko__OPENSSL_init_ssl(OPTIONS, nullptr) == 0) {
      enc_err("ko_enc__load", "OPENSSL_init_ssl", ko__ERR_get_error(),
              __LINE__);
      return false;
    }
  } else if (ko__SSL_library_init) {
    if (ko__SSL_load_error_strings) ko__SSL_load_error_strings();
    ko__SSL_library_init();
  }
  return true;
}

bool open_library() {
  if (!enc_integrity_checked && is_interposed()) return false;
  // Not repeated after a release: a library may refuse to leave the process,
  // and dependencies are opened for everyone to see.
  enc_integrity_checked = true;
  lib_handle = dlopen(LIBRARY, RTLD_LAZY);
  if (lib_handle == nullptr) {
    std::fprintf(stderr, "Failed to load crypto library '%s'\n", LIBRARY);
    print_loader_error();
    return false;
  }
  return resolve_maps() && initialize_library();
}

}  // namespace

void ko_enc__init(std::uint32_t mode) { initialize(mode); }

int ko_enc__load(const char* crypto_lib_path) {
  assert(crypto_lib_path == nullptr);
  initialize(ENC_MODE_BASIC);
  if (enc_loaded) return lib_handle != nullptr ? 0 : -1;
  enc_loaded = true;
  if (open_library()) return 0;
  print_not_available();
  cleanup_lib();
  return -1;
}

int ko_enc__loaded() { return enc_loaded && lib_handle != nullptr ? 1 : 0; }

const char* ko_enc__version() {
  if (ko__SSLeay_version) return ko__SSLeay_version(0);
  if (ko__OpenSSL_version) return ko__OpenSSL_version(0);
  return nullptr;
}

void ko_enc__cleanup() {
  if (!enc_initialized || ko_enc__loaded() == 0) return;
  enc_loaded = false;
  cleanup_lib();
}

void ko_enc__cleanup_key_data(std::unique_ptr<key_data_t>* key_data_pp) {
  if (key_data_pp == nullptr || *key_data_pp == nullptr) return;
  key_data_pp->reset();
}
