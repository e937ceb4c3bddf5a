#!/usr/bin/python3
"""Lets clients written by others call an agent, and read its answers: run.py AGENT

zeep calls without a packet header, in SOAP 1.1 and 1.2; SOAP::Lite calls with one, in SOAP 1.1.
AGENT is the program made from agent.cpp; an HTTP server on a free port of 127.0.0.1 hands it each
request. Needs Debian's python3-zeep (that is why it is the system's Python) and libsoap-lite-perl.
"""
import http.server
import subprocess
import sys
import threading
from pathlib import Path

import zeep

AGENT = sys.argv[1]
HERE = Path(__file__).parent
NAMESPACE = "http://www.tqagent.example/webservices/tqa/4.0.0/vem"
SECONDS = 60

requests = []


class Gateway(http.server.BaseHTTPRequestHandler):
    def do_POST(self):
        request = self.rfile.read(int(self.headers["Content-Length"]))
        requests.append(request.decode())
        agent = subprocess.run([AGENT], input=request, stdout=subprocess.PIPE, timeout=SECONDS)
        self.send_response({0: 200, 3: 500}[agent.returncode])
        self.send_header("Content-Type", self.headers["Content-Type"])
        self.send_header("Content-Length", str(len(agent.stdout)))
        self.end_headers()
        self.wfile.write(agent.stdout)

    def log_message(self, *_):
        pass


failures = []


def check(what, wanted, found):
    if wanted != found:
        failures.append(f"{what}: {found!r}, should be {wanted!r}")


def call_with_zeep(address, binding, fault_code, detail):
    service = zeep.Client(str(HERE / "vem.wsdl")).create_service(f"{{{NAMESPACE}}}{binding}", address)
    answer = service.get_info(veid=101)
    check(f"zeep, {binding}", [(101, "ve101 <&>")], [(ve.veid, ve.hostname) for ve in answer])
    check(f"zeep, {binding}, header block", False, "Header" in requests[-1])
    try:
        check(f"zeep, {binding}, fault", "a fault", service.get_info(veid=404))
    except zeep.exceptions.Fault as fault:
        check(f"zeep, {binding}, code", fault_code, fault.code)
        check(f"zeep, {binding}, reason", "TQAgent responded with error", fault.message)
        found = None if fault.detail is None else fault.detail.findtext("error/message")
        check(f"zeep, {binding}, detail", detail, found)


def call_with_soap_lite(address, veid, wanted):
    client = subprocess.run(["perl", HERE / "client.pl", address, NAMESPACE, str(veid)],
                            capture_output=True, text=True, timeout=SECONDS)
    check(f"SOAP::Lite, {veid}", wanted, client.stdout + client.stderr)
    check("SOAP::Lite, header block", True, "<packet_header " in requests[-1])


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Gateway)
threading.Thread(target=server.serve_forever, daemon=True).start()
address = f"http://127.0.0.1:{server.server_port}/"

call_with_zeep(address, "vem11", "soap:Server", "no such VE")
# The detail element has no prefix, and in SOAP 1.2 zeep looks for one in the envelope's namespace.
call_with_zeep(address, "vem12", "soap:Receiver", None)
call_with_soap_lite(address, 101, "response get_infoResponse\nve 101: ve101 <&>\npacket c7 from vem to panel\n")
call_with_soap_lite(address, 404, "fault soap:Server: TQAgent responded with error\nerror 404: no such VE\n")

server.shutdown()
print(*failures, sep="\n")
print(f"{len(requests)} requests, {len(failures)} surprises")
sys.exit(bool(failures) or len(requests) != 6)
