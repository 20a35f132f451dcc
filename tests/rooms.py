"""The rooms of the production code, for what measures the tests room by room."""

ROOMS = ("include/ktshttpagent", "agent", "net", "sdk", "outbox", "platform/chttpclient", "platform/clog",
         "platform/metrics", "platform/proxy", "platform/reply", "platform/system", "platform/text", "labserver",
         "apps/ktsagent", "testing")


def room_of(path):
    """@return the room of a file, named from the root of the tree; none for a file outside of them"""
    return next((room for room in ROOMS if path.startswith(room + "/")), None)
