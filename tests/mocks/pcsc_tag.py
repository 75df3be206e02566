#!/usr/bin/python3
"""A contactless tag on a virtual PC/SC reader, for the PC/SC tests.

Connects to a vpcd reader slot of a test's own pcscd (vpcd's socket protocol: every message is a
2-byte big-endian length and its bytes; one-byte messages are control codes) and answers as the reader
and the tag answer together:

- an NFC Forum Type 2 tag: the reader's Get Data (FF CA 00 00 00) gives the UID, FF B0 00 <page> <n>
  reads n bytes (at most 16) from a page of 4 bytes; a read past the memory is refused with 63 00;
- an NFC Forum Type 4 tag: SELECT of the NDEF application (D2760000850101 or ...0100, as the card
  accepts), SELECT of its files by identifier, READ BINARY.

The card is described by a JSON object (--card): {"type": 2, "atr": hex, "uid": hex, "memory": hex} or
{"type": 4, "atr": hex, "uid": hex, "versions": [2, 1], "files": {"E103": hex, "E104": hex}}, with
"removeAfter": n to take the tag away after n answered APDUs.

Lines on standard input: "remove" takes the tag off the reader, "insert" puts it back, "quit" ends.
Standard output: "connected", "removed", "reader gone" (pcscd stopped; the tag connects again when
the reader is back), and "> command < response" for every APDU, in hex.
"""

import argparse
import json
import select
import socket
import struct
import sys
import time

CTRL_OFF, CTRL_ON, CTRL_RESET, CTRL_ATR = 0, 1, 2, 4


def say(line):
    sys.stdout.write(line + "\n")
    sys.stdout.flush()


def sw(value):
    return bytes([value >> 8, value & 0xFF])


class Type2Tag:
    def __init__(self, card):
        self.memory = bytes.fromhex(card["memory"])

    def execute(self, apdu):
        if len(apdu) != 5 or apdu[0] != 0xFF or apdu[1] != 0xB0:
            return sw(0x6A81)
        page = (apdu[2] << 8) | apdu[3]
        length = apdu[4] or 256
        start = page * 4
        if length > 16 or start + length > len(self.memory):
            return sw(0x6300)
        return self.memory[start:start + length] + sw(0x9000)


class Type4Tag:
    def __init__(self, card):
        self.versions = card.get("versions", [2, 1])
        self.files = {int(k, 16): bytes.fromhex(v) for k, v in card.get("files", {}).items()}
        self.application = False
        self.selected = None

    def execute(self, apdu):
        if len(apdu) < 4 or apdu[0] != 0x00:
            return sw(0x6E00)
        ins, p1, p2 = apdu[1], apdu[2], apdu[3]
        if ins == 0xA4:
            if len(apdu) < 5 or len(apdu) < 5 + apdu[4]:
                return sw(0x6700)
            data = apdu[5:5 + apdu[4]]
            if p1 == 0x04:
                self.application = False
                self.selected = None
                if len(data) != 7 or data[:6] != bytes.fromhex("D27600008501"):
                    return sw(0x6A82)
                version = {0x01: 2, 0x00: 1}.get(data[6])
                if version not in self.versions or not self.files:
                    return sw(0x6A82)
                self.application = True
                return sw(0x9000)
            if p1 == 0x00 and len(data) == 2:
                fid = (data[0] << 8) | data[1]
                if not self.application or fid not in self.files:
                    return sw(0x6A82)
                self.selected = fid
                return sw(0x9000)
            return sw(0x6A86)
        if ins == 0xB0:
            if len(apdu) != 5:
                return sw(0x6700)
            if self.selected is None:
                return sw(0x6986)
            content = self.files[self.selected]
            offset = ((p1 & 0x7F) << 8) | p2
            le = apdu[4] or 256
            if offset >= len(content):
                return sw(0x6B00)
            data = content[offset:offset + le]
            return data + sw(0x6282 if len(data) < le else 0x9000)
        return sw(0x6D00)


class Card:
    def __init__(self, card):
        self.description = card
        self.uid = bytes.fromhex(card.get("uid", ""))
        self.atr = bytes.fromhex(card["atr"])
        self.remove_after = card.get("removeAfter", -1)
        self.answered = 0
        self.reset()

    def reset(self):
        kind = self.description.get("type", 2)
        self.tag = Type2Tag(self.description) if kind == 2 else Type4Tag(self.description)

    def execute(self, apdu):
        if apdu == bytes.fromhex("FFCA000000"):
            return self.uid + sw(0x9000) if self.uid else sw(0x6A81)
        return self.tag.execute(apdu)


def receive(sock, size):
    data = b""
    while len(data) < size:
        chunk = sock.recv(size - len(data))
        if not chunk:
            raise ConnectionError("vpcd closed the connection")
        data += chunk
        # vpcd writes a message's length and its bytes separately: acknowledging at once keeps the
        # second write from waiting for a delayed acknowledgement (40 ms per APDU otherwise).
        sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_QUICKACK, 1)
    return data


def connect(port):
    deadline = time.monotonic() + 60
    while True:
        try:
            sock = socket.create_connection(("127.0.0.1", port), timeout=5)
            sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_QUICKACK, 1)
            return sock
        except OSError:
            if time.monotonic() > deadline:
                raise
            time.sleep(0.05)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--port", type=int, required=True)
    parser.add_argument("--card", required=True)
    args = parser.parse_args()
    card = Card(json.loads(args.card))

    sock = connect(args.port)
    sock.settimeout(None)
    say("connected")
    while True:
        readable = [sys.stdin] + ([sock] if sock else [])
        ready, _, _ = select.select(readable, [], [])
        if sys.stdin in ready:
            line = sys.stdin.readline()
            command = line.strip()
            if not line or command == "quit":
                break
            if command == "remove" and sock:
                sock.close()
                sock = None
                say("removed")
            elif command == "insert" and not sock:
                card.reset()
                card.answered = 0
                sock = connect(args.port)
                sock.settimeout(None)
                say("connected")
            continue
        try:
            size = struct.unpack("!H", receive(sock, 2))[0]
            message = receive(sock, size) if size else b""
        except (ConnectionError, OSError):
            # The reader went away (pcscd stopped): the tag stays where it is and is there again when
            # the reader comes back.
            sock.close()
            say("reader gone")
            sock = connect(args.port)
            sock.settimeout(None)
            say("connected")
            continue
        if size == 1:
            if message[0] == CTRL_ATR:
                sock.sendall(struct.pack("!H", len(card.atr)) + card.atr)
            elif message[0] in (CTRL_ON, CTRL_RESET):
                card.reset()
            continue
        if card.remove_after >= 0 and card.answered >= card.remove_after:
            sock.close()
            sock = None
            card.remove_after = -1
            say("removed")
            continue
        response = card.execute(message)
        card.answered += 1
        say("> %s < %s" % (message.hex().upper(), response.hex().upper()))
        sock.sendall(struct.pack("!H", len(response)) + response)
    if sock:
        sock.close()


if __name__ == "__main__":
    main()
