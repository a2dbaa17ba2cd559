# Makes the table of docs/control.md of what lumora_bars prints, on one line for each figure of a bar: the worst of the
# seeds, in italics where the law is known to miss the bar, in bold where it is missed. Exit code 1 if any is.
BEGIN {
  FS = "|"
  count = split("orvalite orvamax orvapro orvakinet selkamin selkaplus", models, " ")
}
{
  row = $1 FS $3
  if (!(row in limit)) rows[++row_count] = row
  limit[row] = $4
  cell = row FS $2
  # "failed" is worse than "never", and that worse than any figure.
  rank = $5 == "failed" ? 2e9 : $5 == "never" ? 1e9 : $5 + 0
  if (!(cell in worst) || rank > worst[cell]) {
    worst[cell] = rank
    found[cell] = $5
    verdict[cell] = $6
  }
}
END {
  head = "| Bar | Figure | At most |"
  rule = "|---|---|---|"
  for (i = 1; i <= count; ++i) {
    head = head " " models[i] " |"
    rule = rule "---|"
  }
  print head "\n" rule
  for (r = 1; r <= row_count; ++r) {
    split(rows[r], name, FS)
    line = "| " (name[1] == last ? "" : name[1]) " | " name[2] " | " limit[rows[r]] " |"
    last = name[1]
    for (i = 1; i <= count; ++i) {
      cell = rows[r] FS models[i]
      mark = verdict[cell] == "known" ? "*" : verdict[cell] == "missed" ? "**" : ""
      known += verdict[cell] == "known"
      missed += verdict[cell] == "missed"
      line = line " " (cell in found ? mark found[cell] mark : "-") " |"
    }
    print line
  }
  printf "\n%d missed, %d where the law does not reach\n", missed, known
  exit missed > 0
}
