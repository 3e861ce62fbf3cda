"""The card side of vpcd's virtual readers: a card with a fixed answer to reset and no applications."""
import socket
import threading

FIRST_PORT = 35963  # of vpcd; its second reader listens on the next one
ATR = bytes.fromhex("3B8D01804B56")  # not one of any card that is sold
NO_SUCH_FILE = bytes.fromhex("6A82")  # what every command is answered with (ISO 7816-4)
POWER_OFF, POWER_ON, RESET, TELL_ATR = 0, 1, 2, 4


class VirtualCard:
    """In a reader from its making to `remove`. Throws OSError when nobody listens there."""

    def __init__(self, reader=0):
        self.socket = socket.create_connection(("127.0.0.1", FIRST_PORT + reader))
        threading.Thread(target=self._serve, daemon=True).start()

    def remove(self):
        self.socket.shutdown(socket.SHUT_RDWR)
        self.socket.close()

    def _receive(self, size):
        data = b""
        while len(data) < size:
            part = self.socket.recv(size - len(data))
            if not part:
                raise OSError("the reader is gone")
            data += part
        return data

    def _serve(self):
        try:
            while True:
                command = self._receive(int.from_bytes(self._receive(2), "big"))
                if len(command) == 1 and command[0] in (POWER_OFF, POWER_ON, RESET):
                    continue
                answer = ATR if command == bytes([TELL_ATR]) else NO_SUCH_FILE
                self.socket.sendall(len(answer).to_bytes(2, "big") + answer)
        except OSError:
            pass
