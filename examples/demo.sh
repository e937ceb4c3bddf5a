#!/usr/bin/env bash
# The main job on real messages: XML to binary and back, with everything in between. Each step is a
# command of the `tqamsg` tool, printed before it runs. `./dev demo` builds the tool and calls this.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/data"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

title() { printf '\n== %s\n' "$*"; }

# run COMMAND: shows it, then runs it; files of the demo go to $work.
run() {
    printf '$ %s\n' "${1//$work\//}"
    bash -c "set -o pipefail; $1"
}

title 'A request, parsed from XML and walked as a tree: name, id, kind, value'
run "tqamsg show request.xml"

title 'The same message in binary form'
run "tqamsg convert xml:bin request.xml > $work/request.bin"
run "od -A d -t x1z -v $work/request.bin | head -n 6"

title 'Edited: one value replaced, one element added'
run "tqamsg set data/vem/get_info/options=memory $work/request.bin > $work/a.bin"
run "tqamsg set data/vem/get_info/timeout=30 $work/a.bin > $work/edited.bin"
run "tqamsg show $work/edited.bin | tail -n 3"

title 'Answered: origin and target change places, routing and cookie are carried over'
run "tqamsg reply $work/edited.bin | tqamsg convert bin:xml -"

title 'A status reply with 200 VEs, exported, and framed out of a stream that holds three messages'
run "tqamsg convert xml:bin ve_status_reply.xml > $work/reply.bin"
run "cat $work/request.bin $work/reply.bin $work/edited.bin > $work/stream.bin"
run "tqamsg show $work/stream.bin | grep -c '^packet'"
run "tqamsg show $work/stream.bin | grep -c ' ve #'"

title 'Loaded again and printed back: the very same XML'
run "tqamsg convert bin:xml $work/request.bin | cmp - request.xml && echo same"
run "tqamsg convert bin:xml $work/reply.bin | cmp - ve_status_reply.xml && echo same"
run "tqamsg convert bin:xml $work/reply.bin | head -n 24 | tail -n 12"

title 'Malformed input is refused with exit status 3'
run "head -c 200 request.xml | tqamsg show - || echo \"exit status \$?\""
run "head -c 200 $work/request.bin | tqamsg show - || echo \"exit status \$?\""

for version in 1.1 1.2; do
    request=soap${version/./}_request.xml
    title "SOAP $version: a request becomes a message"
    run "tqamsg soap-request $request"
    run "tqamsg soap-request --binary $request > $work/soap.bin"
    title "... is answered, and the reply gets its data"
    run "tqamsg reply --as vem $work/soap.bin > $work/a.bin"
    run "tqamsg set data/vem/ve/veid=101 $work/a.bin > $work/b.bin"
    run "tqamsg set data/vem/ve/hostname=ve101.node7.example $work/b.bin > $work/answer.bin"
    title "... and becomes a SOAP $version response"
    run "tqamsg soap-response --soap $version $work/answer.bin"
    title 'A reply with an error becomes a fault, and so does a request that names no operator'
    run "tqamsg set data/error/message=busy $work/a.bin | tqamsg soap-response --soap $version -"
    run "sed s/xmlns:v=/xmlns:w=/ $request | tqamsg soap-request - || echo \"exit status \$?\""
done
