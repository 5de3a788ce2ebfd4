#!/usr/bin/env bash
# usage: scripts/browse_rehearsal.sh [FOLDER]
# example: scripts/browse_rehearsal.sh /tmp/pages
#
# Opens the page of a rehearsal in a real browser.
# The package has files whose names are markup. The page must open, show them as text, filter lines, work without
# script, and load nothing else. Pictures of it, light and dark, are stored in the folder (build/pages if none is
# named).
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$root"
pages=$(absolute "${1:-$root/build/pages}")
needs host release
build host rehearse sample_package
make_work
mkdir -p "$pages"

cp -r "$host_build/package" "$work/package"
markup='<img src=x onerror=document.title="run">'
mkdir "$work/package/odd"
# The names on a machine can't contain these characters, but those on its host can. The uninstaller doesn't know the
# last file.
printf 'x' >"$work/package/odd/a&amp;b 'c' ${markup//[<>\"]/}.txt"
printf 'File Copy: odd\\*.*\r\n' >>"$work/package/QtvUnInst.log"
"$host_build/rehearse" --html "$pages/rehearsal.html" "$work/package" -- -s -instdir 'C:\Apps\Qantivo' "$markup" >/dev/null || true

browse() {
    HOME=$work chromium --headless=new --no-sandbox --disable-gpu --no-first-run --disable-background-networking \
        --user-data-dir="$work/profile" --virtual-time-budget=2000 --hide-scrollbars "$@" 2>/dev/null
}
# The page with one more script, which uses the page and tells what is wrong with it.
sed 's|^</body>$||; s|^</html>$||' "$pages/rehearsal.html" >"$work/tested.html"
cat >>"$work/tested.html" <<'END'
<script>
const shown = () => [...document.querySelectorAll("li")].filter(item => item.offsetParent !== null).map(item => item.textContent);
const type = text => { filter.value = text; filter.dispatchEvent(new Event("input")); return shown(); };
const all = shown().length, samples = type("runtime9.dll");
const promises = {
  "it shows all": all > 20 && document.querySelectorAll("details").length >= 4,
  "the filter filters": samples.length > 0 && samples.length < all && samples.some(text => text.includes("runtime9.dll")),
  "the filter hides neither too little nor too much": type("no line has this").length === 0 && type("").length === all,
  "nothing is fetched": performance.getEntriesByType("resource").length === 0 && document.images.length === 0,
  "no name acts as markup": document.title !== "run" && document.querySelector("code").textContent.includes("<img src=x") };
document.body.textContent = "results " + JSON.stringify(Object.keys(promises).filter(promise => !promises[promise])) + " end";
</script>
END
broken=$(browse --dump-dom "file://$work/tested.html" | sed -n 's/.*results \(.*\) end.*/\1/p')
[ "$broken" = '[]' ] || fail "the page breaks its promises: ${broken:-it does not run in the browser}"

# 1 is light, 0 dark.
for scheme in light:1 dark:0; do
    browse --blink-settings=preferredColorScheme="${scheme#*:}" --window-size=1100,1500 \
        --screenshot="$pages/rehearsal-${scheme%:*}.png" "file://$pages/rehearsal.html"
    [ -s "$pages/rehearsal-${scheme%:*}.png" ] || fail "no picture of the ${scheme%:*} page"
done
echo "The page and its pictures are in $pages"
