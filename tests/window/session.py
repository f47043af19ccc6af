"""What the window tests share: programs, waiting for a condition, and a look at them through the accessibility bus."""

import os
import subprocess
import threading
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, Gio, GLib  # noqa: E402

LIMIT = 20  # Seconds until a condition counts as never met; a loaded machine needs some.
BIN = os.environ["KELVANE_BIN"]


def until(condition, what):
    """Returns the condition's first true value; an object that vanishes under it counts as false."""
    end = time.monotonic() + LIMIT
    while True:
        try:
            value = condition()
        except GLib.Error:
            value = None
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"never seen: {what}")
        GLib.MainContext.default().iteration(False)
        time.sleep(0.01)


def run(*command, text=None):
    return subprocess.run(command, input=text, capture_output=True, text=True, timeout=LIMIT)


def xdotool(*arguments):
    run("xdotool", *map(str, arguments))


def clipboard():
    return run("xclip", "-selection", "clipboard", "-o").stdout


class Program:
    """A running program; its output can be waited for line by line."""

    def __init__(self, name, *arguments, **environment):
        self.process = subprocess.Popen(
            [os.path.join(BIN, name), *arguments], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, text=True, env={**os.environ, **environment})
        self.lines, self.errors = [], []
        self.readers = [threading.Thread(target=lambda s=s, to=to: to.extend(x.rstrip("\n") for x in s), daemon=True)
                        for s, to in ((self.process.stdout, self.lines), (self.process.stderr, self.errors))]
        for reader in self.readers:
            reader.start()
        self.seen = 0

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        for reader in self.readers:
            reader.join()
        for stream in (self.process.stdin, self.process.stdout, self.process.stderr):
            stream.close()

    def say(self, *lines):
        self.process.stdin.write("".join(line + "\n" for line in lines))
        self.process.stdin.flush()

    def heard(self, start):
        """Waits for the next line of output that begins with `start`."""

        def next_line():
            for index in range(self.seen, len(self.lines)):
                if self.lines[index].startswith(start):
                    self.seen = index + 1
                    return self.lines[index]
            if not any(reader.is_alive() for reader in self.readers):
                raise AssertionError(f"the program has ended: {self.errors}")
            return None

        return until(next_line, f"a line {start!r} in {self.lines[self.seen:]}")

    def ended(self):
        """Waits until the program ends by itself; its status."""
        status = self.process.wait(LIMIT)
        for reader in self.readers:
            reader.join(LIMIT)
        return status

    @property
    def application(self):
        """The program's root on the accessibility bus, once its window is on the screen."""

        def is_ours(child):
            try:
                return child and child.get_process_id() == self.process.pid and child.get_child_count() > 0
            except GLib.Error:
                return False  # A program that has just ended.

        def find():
            desktop = Atspi.get_desktop(0)
            desktop.clear_cache()
            for index in range(desktop.get_child_count()):
                child = desktop.get_child_at_index(index)
                if is_ours(child):
                    child.set_cache_mask(Atspi.Cache.NONE)
                    return child
            return None

        return until(find, "the program on the accessibility bus")

    @property
    def window(self):
        """The X window's number."""
        return until(lambda: run("xdotool", "search", "--onlyvisible", "--pid", str(self.process.pid)).stdout.split(),
                     "the window")[0]


def serve(directory, *arguments, **environment):
    """A service whose endpoint is in that directory, once it can be reached."""
    service = Program("kelvane-service", "--directory", directory, *arguments, **environment)
    until(lambda: os.path.exists(f"{directory}/HotkeyRpcEndpoint"), "the service's socket")
    return service


class Stage(Program):
    def __init__(self, *arguments, **environment):
        super().__init__("kelvane-stage", *arguments, KELVANE_PACKAGE_DIRECTORY=f"{BIN}/../stage", **environment)


def everything(node):
    """The node and all below it, in reading order."""
    yield node
    for index in range(node.get_child_count()):
        child = node.get_child_at_index(index)
        if child is not None:
            yield from everything(child)


class Snapshot:
    """All of a program's elements at one moment, in reading order. Asking for them one by one, as `everything` does, takes ten times as
    long: here each level of the tree is asked for at once, and the names by a single call."""

    bus = None

    def __init__(self, root):
        self.root, self.bus_name = root, root.app.bus_name
        if Snapshot.bus is None:
            address = Gio.bus_get_sync(Gio.BusType.SESSION).call_sync(
                "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", None, None, 0, -1).unpack()[0]
            flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
            Snapshot.bus = Gio.DBusConnection.new_for_address_sync(address, flags, None, None)
        level, self.children = [root.path], {}
        while level:
            answers = self.ask("Accessible", "GetChildren", level)
            self.children.update({path: [child for _, child in answer] for path, (answer,) in answers.items()})
            level = [child for path in level for child in self.children[path]]
        ((items,),) = self.ask("Cache", "GetItems", ["/org/a11y/atspi/cache"]).values()
        self.items = {item[0][1]: item for item in items}

    def ask(self, interface, method, paths, form=None, arguments=()):
        """What each of the elements answers. A function of the path can stand for the arguments."""
        answers = {}
        for path in paths:
            values = arguments(path) if callable(arguments) else arguments
            self.bus.call(self.bus_name, path, f"org.a11y.atspi.{interface}", method, form and GLib.Variant(form, values), None, 0,
                          LIMIT * 1000, None, lambda bus, result, path=path: answers.update({path: result}))
        while len(answers) < len(paths):
            GLib.MainContext.default().iteration(True)
        return {path: self.bus.call_finish(answers[path]).unpack() for path in paths}

    def places(self, path, place=()):
        """All elements in reading order, each with the way to it."""
        yield path, place
        for index, child in enumerate(self.children[path]):
            yield from self.places(child, (*place, (index, child)))

    def __iter__(self):
        """Those whose names are known: not what came after these were asked for."""
        return (path for path, _ in self.places(self.root.path) if path in self.items)

    def name(self, path):
        return self.items[path][6]

    def role(self, path):
        return Atspi.role_get_name(Atspi.Role(self.items[path][7]))

    def has(self, path, state):
        return bool(self.items[path][9][state // 32] >> state % 32 & 1)

    def having(self, interface):
        return [path for path in self if f"org.a11y.atspi.{interface}" in self.items[path][5]]

    def texts(self):
        whole = (0, 2**31 - 1)  # The toolkit takes -1, which means the end, for nothing.
        return {path: text for path, (text,) in self.ask("Text", "GetText", self.having("Text"), "(ii)", whole).items()}

    def areas(self):
        """Left, top, width and height of each, in the window."""
        window = (Atspi.CoordType.WINDOW,)
        return {path: area for path, (area,) in self.ask("Component", "GetExtents", self.having("Component"), "(u)", window).items()}

    def where(self, holds):
        """The elements of which that holds."""
        for path, place in self.places(self.root.path):
            if path in self.items and holds(path):
                yield from self.at(place)

    def at(self, place):
        """The element there, or none if it has gone, or is in a menu, whose numbers count what is hidden."""
        node = self.root
        for index, path in place:
            node = node.get_child_at_index(index)
            if not node or node.path != path:
                return
        yield node


def find(program, role, name):
    """The element of that role and name; None when it is not there. Roles are the accessibility bus's words."""
    seen = Snapshot(program.application)
    return next(seen.where(lambda path: (seen.role(path), seen.name(path)) == (role, name)), None)


def is_gone(program, role, name):
    """Asked one by one: what `find` does not reach, in a menu, must not count as gone."""
    return not any(node.get_role_name() == role and node.get_name() == name for node in everything(program.application))


def shown(program, role, name):
    return until(lambda: find(program, role, name), f"{role} {name!r}")


def gone(program, role, name):
    until(lambda: is_gone(program, role, name), f"no {role} {name!r}")


def text_of(node):
    """The text that the element offers; None when it offers none."""
    if "Text" not in node.get_interfaces():
        return None
    return Atspi.Text.get_text(node, 0, Atspi.Text.get_character_count(node))


def descriptions(node):
    """What describes the node, as a screen reader finds it."""
    return [each.get_target(index).get_name() for each in node.get_relation_set()
            if each.get_relation_type() == Atspi.RelationType.DESCRIBED_BY for index in range(each.get_n_targets())]


def value(program, label):
    """The text of the element that the label names, as a screen reader finds it; None when there is none."""
    seen = Snapshot(program.application)
    for node in seen.where(lambda path: seen.name(path) == label):
        if any(each.get_relation_type() == Atspi.RelationType.LABELLED_BY for each in node.get_relation_set()):
            return text_of(node)
    return None


def focused(program):
    seen = Snapshot(program.application)
    for node in seen.where(lambda path: seen.has(path, Atspi.StateType.FOCUSED)):
        return node
    for node in everything(program.application):
        if node.get_state_set().contains(Atspi.StateType.FOCUSED):
            return node
    return None


def has_focus(program, name):
    """Waits until the element of that name has the focus."""
    until(lambda: [node for node in [focused(program)] if node and node.get_name() == name], f"focus on {name!r}")


def tab(program):
    """Presses Tab; the name of the element that gets the focus."""
    before = focused(program)
    xdotool("key", "Tab")
    moved = until(lambda: [node for node in [focused(program)] if node and node != before], "the focus moves")
    return moved[0].get_name()


class Ear:
    """What a screen reader says without being asked: a new name or description of what has the focus. Orca 43 does so,
    and says nothing of live regions."""

    def __init__(self, program):
        self.said = []
        self.focus, self.name = focused(program).path, None
        self.listener = Atspi.EventListener.new(self.listen)
        for event in "state-changed:focused", "property-change:accessible-name", "property-change:accessible-description":
            self.listener.register(f"object:{event}")

    def listen(self, event):
        if event.type.startswith("object:state-changed"):
            self.focus, self.name = (event.source.path, event.source.get_name()) if event.detail1 else (None, None)
        elif event.source.path == self.focus and event.any_data and (
                event.type.endswith("description") or event.any_data != self.name):
            self.said.append(event.any_data)


def sound_server(socket, sink):
    """A sound server that listens there, with a sink of PulseAudio's modules; its process."""
    server = subprocess.Popen(
        ["pulseaudio", "-n", "--daemonize=no", "--use-pid-file=no", "--exit-idle-time=-1", "--disallow-exit",
         f"--load=module-native-protocol-unix socket={socket} auth-anonymous=1", f"--load={sink}"],
        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    until(lambda: os.path.exists(socket), "the sound server")
    return server


class SessionServices:
    """What a desktop and its session manager answer, on the session's bus: notifications, and the firmware request of
    org.freedesktop.login1(5)."""

    INTERFACES = """<node>
        <interface name="org.freedesktop.Notifications">
            <method name="Notify">
                <arg type="s"/><arg type="u"/><arg type="s"/><arg type="s"/><arg type="s"/><arg type="as"/>
                <arg type="a{sv}"/><arg type="i"/><arg type="u" direction="out"/>
            </method>
            <method name="CloseNotification"><arg type="u"/></method>
            <signal name="ActionInvoked"><arg type="u"/><arg type="s"/></signal>
        </interface>
        <interface name="org.freedesktop.login1.Manager">
            <method name="CanRebootToFirmwareSetup"><arg type="s" direction="out"/></method>
            <method name="SetRebootToFirmwareSetup"><arg type="b"/></method>
            <property name="RebootToFirmwareSetup" type="b" access="read"/>
        </interface>
    </node>"""

    def __init__(self):
        self.notified, self.withdrawn, self.is_requested = [], [], False
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        interfaces = Gio.DBusNodeInfo.new_for_xml(self.INTERFACES).interfaces
        for interface, path in zip(interfaces, ("/org/freedesktop/Notifications", "/org/freedesktop/login1")):
            self.bus.register_object(path, interface, self.called, lambda *unused: GLib.Variant("b", self.is_requested))
        for name in "org.freedesktop.Notifications", "org.freedesktop.login1":
            Gio.bus_own_name_on_connection(self.bus, name, Gio.BusNameOwnerFlags.NONE)

    def called(self, bus, sender, path, interface, method, arguments, invocation):
        answer = None
        if method == "Notify":
            self.notified.append(arguments.unpack())
            answer = GLib.Variant("(u)", (len(self.notified),))
        elif method == "CloseNotification":
            self.withdrawn.append(arguments.unpack()[0])
        elif method == "CanRebootToFirmwareSetup":
            answer = GLib.Variant("(s)", ("yes",))
        else:
            (self.is_requested,) = arguments.unpack()
        invocation.return_value(answer)

    def act(self, action):
        """The user presses that button of the last notification."""
        self.bus.emit_signal(None, "/org/freedesktop/Notifications", "org.freedesktop.Notifications", "ActionInvoked",
                             GLib.Variant("(us)", (len(self.notified), action)))


def press(program, name):
    shown(program, "push button", name).do_action(0)
