# Changes by hour of the day.
#
#   chronex -r shop.* | awk -f hours.awk

/^DB(PUT|UPDATE|DELETE) / { operation = 1; next }
operation && /^ timestamp: / { changes[substr($3, 1, 2) + 0]++; operation = 0 }

END {
  for (hour = 0; hour < 24; hour++)
    if (hour in changes)
      printf "%02d:00 to %02d:59 %6d\n", hour, hour, changes[hour]
}
