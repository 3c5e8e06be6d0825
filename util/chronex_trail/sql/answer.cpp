#include "util/chronex_trail/sql/answer.h"

#include <string>

#include "util/chronex_trail/sql/answer_cell.h"
#include "util/chronex_trail/sql/answer_table.h"
#include "util/chronex_trail/values/csv_text.h"

namespace {

// Answers are handed over in pieces of this size, in bytes.
constexpr std::size_t PIECE = std::size_t{64} * 1024;

// What a query may do.
int authorize(void* /*context*/, int action, const char* /*first*/,
              const char* /*second*/, const char* /*database*/,
              const char* /*trigger*/) {
  switch (action) {
    case SQLITE_SELECT:
    case SQLITE_READ:
    case SQLITE_FUNCTION:
    case SQLITE_RECURSIVE:
      return SQLITE_OK;
    default:
      return SQLITE_DENY;
  }
}

sql_statement prepare_query(sql_database& database, std::string_view query) {
  sqlite3_set_authorizer(database.handle(), authorize, nullptr);
  sql_statement statement = database.prepare_only(query);
  if (!statement.is_prepared()) throw sql_error("there is no query");
  return statement;
}

// Writes rows one after the other, as they come.
class line_answer {
 public:
  line_answer(sql_statement& rows, byte_sink& sink)
      : rows_(rows), sink_(sink), columns_(column_names(rows)) {}

  int csv() {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (i > 0) text_ += ',';
      append_csv_text(text_, columns_[i]);
    }
    text_ += "\r\n";
    return each_row([this] {
      for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (i > 0) text_ += ',';
        append_csv_cell(text_, rows_, static_cast<int>(i));
      }
      text_ += "\r\n";
    });
  }

  int json() {
    make_distinct(columns_);
    return each_row([this] {
      for (std::size_t i = 0; i < columns_.size(); ++i) {
        text_ += i > 0 ? ',' : '{';
        append_json_cell(text_, columns_[i], rows_, static_cast<int>(i));
      }
      text_ += "}\n";
    });
  }

 private:
  template <typename Row>
  int each_row(const Row& row) {
    while (rows_.step()) {
      row();
      if (text_.size() < PIECE) continue;
      if (sink_.write(text_) != 0) return -1;
      text_.clear();
    }
    return sink_.write(text_);
  }

  sql_statement& rows_;
  byte_sink& sink_;
  std::vector<std::string> columns_;
  std::string text_;
};

}  // namespace

int write_answer(sql_database& database, std::string_view query,
                 answer_format format, byte_sink& sink) {
  sql_statement rows = prepare_query(database, query);
  switch (format) {
    case answer_format::csv:
      return line_answer(rows, sink).csv();
    case answer_format::json:
      return line_answer(rows, sink).json();
    default:
      return write_answer_table(rows, sink);
  }
}
