# A stand-in for UDisks2 on the system bus, for drives that a test machine does not have.
#
#   FakeDiskService.py DEVICE_NUMBER PLACE BEHAVIOUR [PROPERTY=VALUE...]
#
# One block device with that number, mounted at PLACE ("-" for nowhere). A property is "Block.HintName=text",
# "Drive.Ejectable=true"; with any Drive property the device has a drive. BEHAVIOUR says what Unmount does.
import subprocess
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

SERVICE = "org.freedesktop.UDisks2"
BLOCK = "/org/freedesktop/UDisks2/block_devices/fake"
DRIVE = "/org/freedesktop/UDisks2/drives/fake"
REFUSALS = {"busy": "DeviceBusy", "dismissed": "NotAuthorizedDismissed", "forbidden": "NotAuthorized",
            "failing": "Failed"}

number, place, behaviour = int(sys.argv[1]), sys.argv[2], sys.argv[3]
given = dict(word.split("=", 1) for word in sys.argv[4:])


def value(text):
    return {"true": dbus.Boolean(True), "false": dbus.Boolean(False)}.get(text, dbus.String(text))


def properties(interface, defaults):
    found = {name.split(".", 1)[1]: value(text) for name, text in given.items()
             if name.startswith(interface + ".")}
    return dbus.Dictionary({**defaults, **found}, signature="sv")


def zero_ended(text):
    return dbus.ByteArray(text.encode() + b"\0")


def objects():
    has_drive = any(name.startswith("Drive.") for name in given)
    places = dbus.Array([zero_ended(place)] if place != "-" else [], signature="ay")
    block = {
        SERVICE + ".Block": properties("Block", {
            "DeviceNumber": dbus.UInt64(number), "Drive": dbus.ObjectPath(DRIVE if has_drive else "/"),
            "IdLabel": "", "IdUUID": "", "HintName": "", "HintSystem": dbus.Boolean(True),
            "Size": dbus.UInt64(1), "Configuration": dbus.Array([], signature="(sa{sv})")}),
        SERVICE + ".Filesystem": dbus.Dictionary({"MountPoints": places}, signature="sv"),
    }
    tree = {dbus.ObjectPath(BLOCK): block}
    if has_drive:
        tree[dbus.ObjectPath(DRIVE)] = {SERVICE + ".Drive": properties("Drive", {})}
    tree[dbus.ObjectPath("/org/freedesktop/UDisks2/Manager")] = {
        "org.freedesktop.DBus.Peer": dbus.Dictionary({}, signature="sv")}
    return dbus.Dictionary(tree, signature="oa{sa{sv}}")


class Manager(dbus.service.Object):
    @dbus.service.method("org.freedesktop.DBus.ObjectManager", out_signature="a{oa{sa{sv}}}",
                         async_callbacks=("answer", "refuse"))
    def GetManagedObjects(self, answer, refuse):
        if behaviour != "silent":
            answer(objects())


class Block(dbus.service.Object):
    @dbus.service.method(SERVICE + ".Filesystem", in_signature="a{sv}")
    def Unmount(self, options):
        if behaviour in REFUSALS:
            raise dbus.DBusException("refused", name=SERVICE + ".Error." + REFUSALS[behaviour])
        subprocess.run(["umount", place], check=True)


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SystemBus()
manager = Manager(bus, "/org/freedesktop/UDisks2")
block = Block(bus, BLOCK)
name = dbus.service.BusName(SERVICE, bus)
GLib.MainLoop().run()
