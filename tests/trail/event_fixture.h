#ifndef CHRONEX_TESTS_TRAIL_EVENT_FIXTURE_H
#define CHRONEX_TESTS_TRAIL_EVENT_FIXTURE_H

// Sessions, data sets and images made by hand, and the events that come of
// them.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "util/chronex/input/input_file.h"
#include "util/chronex/tables/node.h"
#include "util/chronex/tables/session.h"
#include "util/chronex_trail/files/byte_sink.h"

// Keeps what it is given.
class string_sink : public byte_sink {
 public:
  int write(std::string_view bytes) override {
    text += bytes;
    return 0;
  }
  std::string text;
};

struct test_item {
  std::string name;
  char type = 'X';
  std::uint16_t count = 1;
  std::uint16_t size = 1;
  std::uint32_t format = 0;
};

// The tables of a run.
struct test_tables {
  // Registers a data set of database #1, which is SHOP.
  node_entry& make_data_set(std::int32_t node_id, std::string_view name,
                            const std::vector<test_item>& items);
  // Registers a session that signs on with these strings.
  session_entry& make_session(std::int32_t session_id,
                              const std::vector<std::string>& strings);

  // Of the names and sign-on data that are registered.
  int charset = 1;
  run_messages messages;
  node_table nodes{messages};
  session_table sessions{messages};
};

// Makes it a forward log of version 1.05, generation 7 and sequence 2, or an
// audit file of version 1.00.
void fill_input(input_file& file, std::string_view name, int type,
                std::uint16_t charset);

std::vector<std::uint8_t> bytes_of(std::string_view text);

#endif  // CHRONEX_TESTS_TRAIL_EVENT_FIXTURE_H
