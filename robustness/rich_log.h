#ifndef CHRONEX_ROBUSTNESS_RICH_LOG_H
#define CHRONEX_ROBUSTNESS_RICH_LOG_H

// Small logs in which everything occurs that a log can hold, so that runs over
// them reach every module.

#include <string>

// Generation 1, file 1: all item types, all kinds of operations and memos, gaps
// and repeats. Pages (8 KiB each) are put in on request.
std::string rich_log(bool with_pages);

// Generation 1, file 2: a server abort, a role change, definitions that change,
// and no end tag.
std::string rich_log_2();

// What the data key of an encrypted log is.
enum class data_key { plain_xor, plain_aes, under_master_key };

// A log of an encrypted data set. The master key is ENCRYPTION_MASTER_KEY.
std::string encrypted_log(data_key key);

inline constexpr const char* ENCRYPTION_MASTER_KEY =
    "a master key of thirty-two chars";

#endif  // CHRONEX_ROBUSTNESS_RICH_LOG_H
