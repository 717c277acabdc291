#!/usr/bin/env bash
# Times `scrivix find` beside `grep -r` (and `rg -j1` when it is installed) on the same generated tree of
# source-like files, in the same run: a literal, then a regular expression. Everything runs on one thread
# and writes its output to a file (GNU grep stops at the first match when its output is /dev/null).
# Uses hyperfine when installed (apt-get install hyperfine), else a loop that keeps the best of 5 runs.
#
#   bench/cli_bench.sh [MiB]    # default 256. SCRIVIX_BENCH_KEEP=1 keeps the tree for a rerun;
#                               # SCRIVIX_TOOL=path times another build of the tool.
set -euo pipefail
cd "$(dirname "$0")/.."
size_mib="${1:-256}"
tool="${SCRIVIX_TOOL:-build/bench/tools/scrivix/scrivix}"
if [ ! -x "$tool" ]; then
  cmake --preset bench >/dev/null
  cmake --build --preset bench --target scrivix_tool >/dev/null
fi
tool="$(pwd)/$tool"

work="${TMPDIR:-/tmp}/scrivix-bench-${size_mib}"
tree="$work/tree"
[ "${SCRIVIX_BENCH_KEEP:-0}" = 1 ] || trap 'rm -rf "$work"' EXIT
if [ ! -d "$tree" ]; then
  echo "generating a ${size_mib} MiB tree in $tree" >&2
  mkdir -p "$tree"
  # Files of about 32 KiB in directories of 128; about one line in a thousand calls log_message(.
  awk -v total=$((size_mib * 1024 * 1024)) -v root="$tree" '
    function word() { return words[int(rand() * nwords) + 1] }
    function line(  r) {
      r = rand()
      if (r < 0.001) return sprintf("    log_message(LOG_INFO, \"%s %s\");", word(), word())
      if (r < 0.15) return sprintf("    /* %s the %s before %s */", word(), word(), word())
      if (r < 0.25) return sprintf("// %s %s %s %s", word(), word(), word(), word())
      if (r < 0.45) return sprintf("    int %s_%d = compute_%s(buffer, %d);", word(), int(rand() * 100), word(), int(rand() * 4096))
      if (r < 0.60) return sprintf("    if (%s_%d > limit) return error_%s;", word(), int(rand() * 100), word())
      if (r < 0.75) return sprintf("static const char *%s_name = \"%s %s\";", word(), word(), word())
      if (r < 0.85) return sprintf("    for (size_t i = 0; i < %s_count; ++i) %s[i] = %s(i);", word(), word(), word())
      if (r < 0.93) return "}"
      return sprintf("void %s_%s(struct %s *self)\n{", word(), word(), word())
    }
    BEGIN {
      srand(7)
      nwords = split("alpha buffer cache delta entry frame guard header index journal kernel layout marker " \
                     "node offset parser queue record segment table unit value window extent cursor token", words, " ")
      written = 0; file = 0
      while (written < total) {
        if (file % 128 == 0) { dir = sprintf("%s/d%03d", root, file / 128); system("mkdir -p " dir) }
        path = sprintf("%s/f%05d.c", dir, file++)
        size = 0
        while (size < 32768) { text = line(); print text > path; size += length(text) + 1 }
        close(path); written += size
      }
    }'
fi
echo "tree: $(find "$tree" -type f | wc -l) files, $(du -sm "$tree" | cut -f1) MiB" >&2

out="$work/out.txt"
literal='log_message('
expression='log_[a-z]+('
names=("scrivix find (literal)" "grep -rn -F (literal)" "scrivix find -e (expression)" "grep -rn -E (expression)")
commands=("$tool find --color=never '$literal' '$tree' > '$out'"
          "grep -rn -F '$literal' '$tree' > '$out'"
          "$tool find --color=never -e '$expression' '$tree' > '$out'"
          "grep -rn -E 'log_[a-z]+\\(' '$tree' > '$out'")
if command -v rg >/dev/null; then
  names+=("rg -j1 -F (literal)" "rg -j1 (expression)")
  commands+=("rg -j1 -n --column --no-ignore -F '$literal' '$tree' > '$out'"
             "rg -j1 -n --column --no-ignore 'log_[a-z]+\\(' '$tree' > '$out'")
fi

# Same matches from each, as a sanity check of the comparison.
for i in 0 1; do
  eval "${commands[$i]}" || true
  echo "${names[$i]}: $(wc -l < "$out") lines" >&2
done

if command -v hyperfine >/dev/null; then
  args=()
  for i in "${!commands[@]}"; do args+=(-n "${names[$i]}" "${commands[$i]}"); done
  hyperfine --warmup 1 --runs 5 -i "${args[@]}"
else
  for i in "${!commands[@]}"; do
    eval "${commands[$i]}" || true  # warm the page cache
    best=""
    for _ in 1 2 3 4 5; do
      start=$(date +%s%N)
      eval "${commands[$i]}" || true
      elapsed=$(( ($(date +%s%N) - start) / 1000000 ))
      if [ -z "$best" ] || [ "$elapsed" -lt "$best" ]; then best=$elapsed; fi
    done
    awk -v name="${names[$i]}" -v ms="$best" -v mib="$size_mib" \
      'BEGIN { printf "%-32s best of 5: %6d ms  (%.0f MiB/s)\n", name, ms, mib * 1000 / (ms ? ms : 1) }'
  done
fi
