#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_DATABASE_FILE_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_DATABASE_FILE_H

// The file of a trail's database.
//
// It is filled as NAME.partial and gets its name only when it is complete:
// until then an old database of that name lives, and none that was cut can pass
// for whole. One that is gone on with in place stays whole by the engine's own
// transactions.

#include <string>

#include "util/chronex/messages/messages.h"
#include "util/chronex_trail/sql/database.h"

// Tell a trail's database from others, in its header.
inline constexpr int TRAIL_APPLICATION_ID = 0x43485258;
inline constexpr int TRAIL_TABLES_VERSION = 1;

// What becomes of a database that is there already.
enum class existing_database { refused, replaced, continued };

class database_file {
 public:
  explicit database_file(run_messages& messages) : messages_(messages) {}

  // Opens NAME.partial: empty, or a copy of the database that is continued.
  // `is_private` keeps it from everyone but its owner. Returns 0, or -1 with a
  // message.
  int open(const std::string& name, existing_database existing,
           bool is_private);

  // Opens the database itself, to be gone on with in place; one that is not
  // there is made, empty. One that is `followed` may have readers, and be left
  // as a run that was killed had it. Returns 0, or -1 with a message.
  int open_in_place(const std::string& name, bool is_private,
                    bool is_followed = false);

  // Makes a database that was followed one file again, unless it has readers.
  void end_following();

  sql_database& database() { return database_; }
  // Whether there was a database that is continued.
  bool is_continued() const { return continued_; }

  // Closes the file and gives it its name if it is complete; else a message
  // says where it is. Returns 0, or -1 with a message.
  int close(bool is_complete);

 private:
  int check_existing(existing_database existing);
  int make_partial(bool is_private);
  int copy_existing();
  int open_existing(bool is_followed);
  int failure(const std::string& name, const char* problem);

  run_messages& messages_;
  sql_database database_;
  std::string name_;
  std::string partial_name_;
  bool continued_ = false;
};

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_DATABASE_FILE_H
