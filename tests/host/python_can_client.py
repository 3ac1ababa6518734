"""Talks to an ECU through a socketcand server with python-can.

usage: python_can_client.py PORT BUS

One client sends CONNECT and prints what it receives; another one, which only listens, prints what it sees.
"""

import sys

import can

COMMAND_ID = 0x18DA0001
PATIENCE = 60.0


def open_bus(port, name):
    return can.Bus(interface="socketcand", host="127.0.0.1", port=port, channel=name)


def receive(bus):
    """The next frame. A receive of this client may end without one although the time is not over."""
    for _ in range(1000):
        message = bus.recv(timeout=PATIENCE)
        if message is not None:
            return message
    raise SystemExit("nothing received")


def show(who, message):
    print(f"{who} {message.arbitration_id:08X}#{message.data.hex().upper()}", flush=True)


def main():
    port, name = int(sys.argv[1]), sys.argv[2]
    sender = open_bus(port, name)
    listener = open_bus(port, name)
    for _ in range(3):
        sender.send(can.Message(arbitration_id=COMMAND_ID, data=[0xFF, 0x00], is_extended_id=True))
        show("sender", receive(sender))
        show("listener", receive(listener))
        show("listener", receive(listener))
    # This client has no form of its own for CAN FD; the server refuses the frame and keeps the connection.
    sender.send(can.Message(arbitration_id=COMMAND_ID, data=bytes(12), is_extended_id=True, is_fd=True))
    sender.send(can.Message(arbitration_id=COMMAND_ID, data=[0xFF, 0x00], is_extended_id=True))
    show("sender", receive(sender))
    sender.shutdown()
    listener.shutdown()


if __name__ == "__main__":
    main()
