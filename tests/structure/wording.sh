#!/usr/bin/env bash
# Checks what the repository's files and commit messages say: they explain the system by itself, not
# by the papers, machines and hosts of those who wrote it, and leave no marker of unfinished work.
# Exit 77 (skipped) outside a git checkout. The patterns are written so as not to match themselves.
set -euo pipefail
cd "$1"
git rev-parse --git-dir >/dev/null 2>&1 || exit 77

said='(the|this|our) spec(ification)?\b|\bspec\.md\b|\bspec(ified|ification)s? (in|by) part\b'
said+='|\b[Pp]art [1-5]\.[0-9]\b|\.\./shared|(^|[^[:alnum:]_.-])/(home|work|Users)/'
said+='|\b(debian|pypi|npmjs)\.(org|com)\b'
unfinished='\b(TO''DO|FIX''ME|X''XX|HA''CK|not imple''mented|place''holder)\b'

found=0
report() {
    found=1
    printf '%s\n%s\n' "$1" "$2"
}
if lines=$(git grep --untracked -nIE "$said|$unfinished" -- .); then
    report 'In the files:' "$lines"
fi
if lines=$(git log --format='%h %s%n%b' 2>/dev/null | grep -nE "$said|$unfinished"); then
    report 'In the commit messages:' "$lines"
fi
exit "$found"
