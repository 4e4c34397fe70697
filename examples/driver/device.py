#!/usr/bin/python3
"""A Modbus ASCII device on a free port of 127.0.0.1, to try the driver on. Needs Debian's python3-pymodbus.

It is station 1 and has the holding registers 1 to 1000, each of which holds its number.
"""

import logging
import socketserver

from pymodbus.datastore import ModbusSequentialDataBlock, ModbusSlaveContext
from pymodbus.factory import ServerDecoder
from pymodbus.framer.ascii_framer import ModbusAsciiFramer

logging.disable()  # pymodbus writes a line for each exception reply
HOLDING = 3  # any function code that means the holding registers


class Device(socketserver.ThreadingTCPServer):
    """Answers from serve_forever() to shutdown(). What a test may set: fault(frame) gives what is sent in
    place of a reply; None closes the connection."""

    daemon_threads = True

    def __init__(self):
        super().__init__(("127.0.0.1", 0), Connection)
        self.address = f"127.0.0.1:{self.server_address[1]}"
        self.memory = ModbusSlaveContext(hr=ModbusSequentialDataBlock(1, list(range(1, 1001))))
        self.fault = lambda frame: frame
        self.connections = 0
        self.requests = 0

    def registers(self, first, count):
        return self.memory.getValues(HOLDING, first - 1, count)


class Connection(socketserver.BaseRequestHandler):
    def handle(self):
        self.server.connections += 1
        self.framer = ModbusAsciiFramer(ServerDecoder())
        while data := self.request.recv(4096):
            self.framer.processIncomingPacket(data, self.answer, 1)

    def answer(self, request):
        self.server.requests += 1
        reply = request.execute(self.server.memory)
        reply.unit_id = request.unit_id
        frame = self.server.fault(self.framer.buildPacket(reply))
        if frame is None:
            self.request.shutdown(2)
        else:
            self.request.sendall(frame)


if __name__ == "__main__":
    device = Device()
    print("listening on", device.address, flush=True)
    try:
        device.serve_forever()
    except KeyboardInterrupt:
        pass
