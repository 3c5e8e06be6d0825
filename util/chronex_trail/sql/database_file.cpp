#include "util/chronex_trail/sql/database_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace {

constexpr mode_t EVERYONE = 0666;
constexpr mode_t OWNER_ONLY = 0600;

bool is_trail(sql_database& database) {
  return database.number("PRAGMA application_id") == TRAIL_APPLICATION_ID &&
         database.number("PRAGMA user_version") == TRAIL_TABLES_VERSION;
}

}  // namespace

int database_file::failure(const std::string& name, const char* problem) {
  messages_.print("%s: %s\n", name.c_str(), problem);
  return -1;
}

int database_file::check_existing(existing_database existing) {
  struct stat status {};
  if (stat(name_.c_str(), &status) != 0) {
    if (errno == ENOENT) return 0;
    messages_.perror(name_.c_str());
    return -1;
  }
  if (!S_ISREG(status.st_mode)) {
    return failure(name_, "a database must be a regular file");
  }
  if (existing == existing_database::refused) {
    return failure(name_,
                   "is there already; --force replaces it, --append "
                   "goes on in it");
  }
  continued_ = existing == existing_database::continued;
  return 0;
}

// Whatever has the name is removed first: it might be a link, or readable for
// everyone.
int database_file::make_partial(bool is_private) {
  partial_name_ = name_ + ".partial";
  const char* const name = partial_name_.c_str();
  if (unlink(name) == 0 || errno == ENOENT) {
    const int descriptor = ::open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                                  is_private ? OWNER_ONLY : EVERYONE);
    if (descriptor >= 0) return ::close(descriptor);
  }
  messages_.perror(name);
  return -1;
}

int database_file::copy_existing() {
  if (!continued_) return 0;
  database_.copy_from(name_);
  // A copy may be one that keeps its journal for good.
  database_.run("PRAGMA journal_mode = DELETE");
  if (is_trail(database_)) return 0;
  unlink(partial_name_.c_str());
  return failure(name_, "is no database of chronex-trail");
}

int database_file::open(const std::string& name, existing_database existing,
                        bool is_private) {
  name_ = name;
  if (check_existing(existing) != 0) return -1;
  if (make_partial(is_private) != 0) return -1;
  try {
    database_.open(partial_name_);
    return copy_existing();
  } catch (const sql_error& error) {
    unlink(partial_name_.c_str());
    return failure(continued_ ? name_ : partial_name_, error.what());
  }
}

// What a run that was killed has begun is undone by the engine.
int database_file::open_existing(bool is_followed) {
  database_.open(name_);
  database_.run(is_followed ? "PRAGMA busy_timeout = 10000"
                            : "PRAGMA journal_mode = DELETE");
  database_.run("PRAGMA synchronous = FULL");
  continued_ = database_.number("SELECT count(*) FROM sqlite_schema") > 0;
  if (!continued_ || is_trail(database_)) return 0;
  return failure(name_, "is no database of chronex-trail");
}

void database_file::end_following() {
  try {
    database_.run("PRAGMA busy_timeout = 0; PRAGMA journal_mode = DELETE");
  } catch (const sql_error&) {
    // The last reader leaves one file, too.
  }
}

int database_file::open_in_place(const std::string& name, bool is_private,
                                 bool is_followed) {
  name_ = name;
  if (check_existing(existing_database::continued) != 0) return -1;
  const int descriptor = ::open(name_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC,
                                is_private ? OWNER_ONLY : EVERYONE);
  if (descriptor < 0 || ::close(descriptor) != 0) {
    messages_.perror(name_.c_str());
    return -1;
  }
  try {
    return open_existing(is_followed);
  } catch (const sql_error& error) {
    return failure(name_, error.what());
  }
}

int database_file::close(bool is_complete) {
  try {
    database_.close();
  } catch (const sql_error& error) {
    is_complete = false;
    failure(partial_name_.empty() ? name_ : partial_name_, error.what());
  }
  if (partial_name_.empty()) return is_complete ? 0 : -1;
  if (is_complete) {
    if (std::rename(partial_name_.c_str(), name_.c_str()) == 0) return 0;
    messages_.perror(name_.c_str());
  }
  messages_.print("The output is not complete; what there is of it is in %s\n",
                  partial_name_.c_str());
  return -1;
}
