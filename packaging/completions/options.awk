# Prints a line for each option in the output of --help: its name, the kind of its value, the possible words of
# the value, and its description, separated by tabs.
function put(text) {
  sub(/^ +/, "", text)
  count = split(names, name, ",")
  for (i = 1; i <= count; ++i) {
    if (name[i] ~ /^--/) {
      sub(/[{].*/, "", name[i])
      print name[i] "\t" kind "\t" words "\t" text
    }
  }
  names = ""
}
names != "" { put($0); next }
/^ +-/ {
  sub(/^ +/, "")
  kind = words = ""
  names = $1
  rest = substr($0, length(names) + 1)
  if (match(rest, /^ [A-Z][A-Z0-9]*/) && substr(rest, RLENGTH + 1, 1) !~ /[a-z]/) {
    kind = substr(rest, 2, RLENGTH - 1)
  }
  if (match(rest, /:[{][^}]*/)) {
    words = substr(rest, 3 + RSTART - 1, RLENGTH - 2)
  }
  if (match(rest, /   *[^ ]/)) {
    put(substr(rest, RSTART))
  }
}
