#!/usr/bin/env python3
"""SMTP sink for the tests: accepts every mail on loopback and files it in a spool folder.

Each message becomes <n>.eml (the bytes as received) and <n>.json beside it, written after the
.eml, with the envelope and what Python's own mail parser makes of the message, so the tests
check our composition against an independent reader. AUTH LOGIN/PLAIN takes one fixed user;
a wrong password is refused, no login at all is accepted.

Tests ask for refusals through the addresses they send to, so tests sharing the sink never see
each other's: a recipient "refuse-<code>-<anything>@..." is refused at RCPT with that reply code,
and a recipient "reject-data-<code>-<anything>@..." makes the sink refuse the whole mail at the end
of DATA with that code (552: too large), after accepting every recipient.
"""
import argparse
import email
import email.policy
import json
import os
import re
import signal
import tempfile
import threading
import warnings

from aiosmtpd.controller import Controller
from aiosmtpd.smtp import AuthResult, LoginPassword


def write_atomically(path, data):
    fd, tmp = tempfile.mkstemp(dir=os.path.dirname(path), prefix=".part-")
    with os.fdopen(fd, "wb") as f:
        f.write(data)
    os.replace(tmp, path)


def describe(raw):
    msg = email.message_from_bytes(raw, policy=email.policy.default)
    info = {
        "headers": [[k, str(v)] for k, v in msg.items()],
        "subject": str(msg.get("Subject", "")),
        "to": str(msg.get("To", "")),
        "from": str(msg.get("From", "")),
        "message_id": str(msg.get("Message-ID", "")).strip(),
        "content_type": msg.get_content_type(),
        "charset": msg.get_content_charset() or "",
        "transfer_encoding": str(msg.get("Content-Transfer-Encoding", "")),
        "defects": [type(d).__name__ for d in msg.defects],
    }
    try:
        info["body"] = msg.get_content()
    except Exception as exc:  # a broken body is a finding for the test, not a sink crash
        info["body"] = ""
        info["defects"].append("get_content: %s" % exc)
    return info


REFUSE_RCPT = re.compile(r"^refuse-([45]\d\d)(?:-[^@]*)?@", re.IGNORECASE)
REJECT_DATA = re.compile(r"^reject-data-([45]\d\d)(?:-[^@]*)?@", re.IGNORECASE)


class Handler:
    def __init__(self, spool):
        self.spool = spool
        self.count = 0
        self.lock = threading.Lock()

    async def handle_RCPT(self, server, session, envelope, address, rcpt_options):
        m = REFUSE_RCPT.match(address)
        if m:
            code = m.group(1)
            return "%s %s.1.1 <%s>: recipient refused by the test sink" % (code, code[0], address)
        envelope.rcpt_tos.append(address)
        return "250 OK"

    async def handle_DATA(self, server, session, envelope):
        for rcpt in envelope.rcpt_tos:
            m = REJECT_DATA.match(rcpt)
            if m:
                code = m.group(1)
                return "%s %s.3.4 Message too big for the test sink" % (code, code[0])
        with self.lock:
            self.count += 1
            n = self.count
        base = os.path.join(self.spool, "%06d-%d" % (n, os.getpid()))
        raw = envelope.original_content or envelope.content
        write_atomically(base + ".eml", raw)
        info = describe(raw)
        info["mail_from"] = envelope.mail_from
        info["rcpt_tos"] = list(envelope.rcpt_tos)
        info["auth_user"] = session.auth_data if isinstance(session.auth_data, str) else ""
        write_atomically(base + ".json", json.dumps(info).encode())
        return "250 Message accepted"


def make_authenticator(user, password):
    def authenticate(server, session, envelope, mechanism, auth_data):
        ok = (isinstance(auth_data, LoginPassword) and auth_data.login.decode() == user
              and auth_data.password.decode() == password)
        return AuthResult(success=ok, auth_data=auth_data.login.decode() if ok else None, handled=False)
    return authenticate


def main():
    # aiosmtpd 1.4 warns about its own use of a deprecated field on every login.
    warnings.filterwarnings("ignore", category=DeprecationWarning)
    p = argparse.ArgumentParser()
    p.add_argument("--port", type=int, required=True)
    p.add_argument("--spool", required=True)
    p.add_argument("--user", required=True)
    p.add_argument("--password", required=True)
    args = p.parse_args()
    os.makedirs(args.spool, exist_ok=True)

    controller = Controller(Handler(args.spool), hostname="127.0.0.1", port=args.port,
                            authenticator=make_authenticator(args.user, args.password),
                            auth_require_tls=False, auth_required=False,
                            data_size_limit=64 * 1024 * 1024)
    controller.start()
    stop = threading.Event()
    signal.signal(signal.SIGTERM, lambda *_: stop.set())
    signal.signal(signal.SIGINT, lambda *_: stop.set())
    stop.wait()
    controller.stop()


if __name__ == "__main__":
    main()
