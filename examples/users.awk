# Users by number of changes.
#
#   chronex -r shop.* | awk -f users.awk | sort -rn
#
# Operations of sessions whose sign-on names no user count for "(unknown)".

# A session id may be used again: the latest sign-on counts.
/^SIGN-ON / {
  session = after(" session:"); user[session] = "(unknown)"
  signing_on = 1
  next
}
/^[^ ]/ { signing_on = 0 }
signing_on && match($0, /[ }]user[{][^}]*/) {
  user[session] = substr($0, RSTART + 6, RLENGTH - 6)
  next
}
/^DB(PUT|UPDATE|DELETE) / { changes[user[after(" session:")]]++ }

END { for (name in changes) printf "%6d %s\n", changes[name], name }

# The number behind a label of the line.
function after(label) {
  return substr($0, index($0, label) + length(label)) + 0
}
