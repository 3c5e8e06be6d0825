#ifndef CHRONEX_UTIL_CHRONEX_TRAIL_SQL_TRAIL_TABLES_H
#define CHRONEX_UTIL_CHRONEX_TRAIL_SQL_TRAIL_TABLES_H

// The tables that every database of a trail has. doc/sql.md describes them.

// Tell a trail's database from others, in its header.
inline constexpr int TRAIL_APPLICATION_ID = 0x43485258;
inline constexpr int TRAIL_TABLES_VERSION = 1;

inline constexpr const char* CREATE_TRAIL_TABLES = R"sql(
PRAGMA encoding = 'UTF-8';
CREATE TABLE input(
  id INTEGER PRIMARY KEY, name TEXT, format TEXT, generation INTEGER,
  sequence INTEGER, character_set TEXT, size INTEGER, sha256 TEXT);
CREATE TABLE session(
  id INTEGER PRIMARY KEY, session_id INTEGER, user TEXT, program TEXT,
  host TEXT, connected TEXT, attributes TEXT, first_n INTEGER,
  last_n INTEGER, signed_off_n INTEGER);
CREATE TABLE data_set(
  id INTEGER PRIMARY KEY, database TEXT, name TEXT, node INTEGER,
  version INTEGER, table_name TEXT, record_size INTEGER);
CREATE TABLE item(
  data_set INTEGER, position INTEGER, name TEXT, type TEXT,
  elements INTEGER, size INTEGER, format INTEGER, element INTEGER,
  column_name TEXT, before_column TEXT, column_type TEXT);
CREATE TABLE change(
  n INTEGER PRIMARY KEY, ts TEXT, op TEXT, data_set INTEGER,
  recno INTEGER, session INTEGER, input INTEGER, generation INTEGER,
  sequence INTEGER, action INTEGER, memo_begin TEXT, memo_end TEXT,
  memo_text TEXT, changed TEXT, notes TEXT);
CREATE TABLE memo(
  n INTEGER PRIMARY KEY, ts TEXT, session INTEGER, mode TEXT, text TEXT);
CREATE TABLE notice(
  n INTEGER PRIMARY KEY, type TEXT, kind TEXT, input INTEGER, text TEXT,
  found INTEGER, expected INTEGER, missing INTEGER);
CREATE TABLE run(
  version TEXT, options TEXT, started TEXT, finished TEXT,
  changes INTEGER, gaps INTEGER, warnings INTEGER, status INTEGER);
)sql";

#endif  // CHRONEX_UTIL_CHRONEX_TRAIL_SQL_TRAIL_TABLES_H
