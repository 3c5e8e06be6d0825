# Changes of item values as CSV.
#
#   chronex -r -v shop.7-1 shop.7-2 | awk -f changes.awk
#
# A line for each item of a new or deleted record, and for each item that an
# update has changed. Values are in CSV quotes; \ooo (three octal digits) stands
# for a control character, as in the report.

BEGIN {
  print "time,user,session,operation,dataset,recno,item,before,after"
}

# A session id may be used again: the latest sign-on counts.
/^SIGN-ON / {
  session = after(" session:"); user[session] = ""
  signing_on = 1
  next
}
/^[^ ]/ { signing_on = 0 }
signing_on && match($0, /[ }]user[{][^}]*/) {
  user[session] = substr($0, RSTART + 6, RLENGTH - 6)
  next
}

/^DB(PUT|UPDATE|DELETE) / {
  operation = $1
  dataset = substr($0, length($1) + 2, index($0, " (#") - length($1) - 2)
  recno = after(" recno:"); session = after(" session:")
  next
}
/^ timestamp: / { time = $2 " " $3; next }

# Values: two columns for the sign, the item, " : ", the value.
/^ [ +-][^ ]/ && (colon = index($0, " : ")) {
  sign = substr($0, 2, 1)
  item = substr($0, 3, colon - 3); sub(/ +$/, "", item)
  value = plain(substr($0, colon + 3))
  if (operation == "DBPUT") row("", value)
  else if (operation == "DBDELETE") row(value, "")
  else if (sign == "-") old = value
  else if (sign == "+") row(old, value)
}

# The number behind a label of the line.
function after(label) {
  return substr($0, index($0, label) + length(label)) + 0
}

# A value without the report's quotes and backslashes before quotes and
# backslashes.
function plain(text,   i, c, result) {
  if (text !~ /^".*"$/) return text
  for (i = 2; i < length(text); i++) {
    c = substr(text, i, 1)
    if (c == "\\" && substr(text, i + 1, 1) ~ /["\\]/) c = substr(text, ++i, 1)
    result = result c
  }
  return result
}

function csv(text) { gsub(/"/, "\"\"", text); return "\"" text "\"" }

function row(before, later) {
  print time "," csv(user[session]) "," session "," operation "," \
    csv(dataset) "," recno "," item "," csv(before) "," csv(later)
}
