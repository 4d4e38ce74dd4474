#!/usr/bin/env python3
# fake-file-manager.py KIND ENTRY FILE...: chooses an entry as a file manager does: parses its format and starts its command.

import contextlib
import os
import re
import runpy
import shlex
import subprocess
import sys
import types
import urllib.parse
import xml.etree.ElementTree


def uri(path):
    # The characters that GLib does not escape in the URI of a file.
    return "file://" + urllib.parse.quote(os.fsencode(path), safe="/!$&'()*+,;=:@~")


def key_file_value(entry, key):
    value = re.search(rf"^{key}=(.*)$", open(entry, encoding="utf-8").read(), re.MULTILINE).group(1)
    escapes = {"s": " ", "n": "\n", "t": "\t", "r": "\r", "\\": "\\"}
    return re.sub(r"\\(.)", lambda match: escapes[match.group(1)], value)


def dolphin(entry, paths):
    assert os.access(entry, os.X_OK), "the service menu is not trusted"
    arguments = []
    for quoted, plain in re.findall(r'"((?:[^"\\]|\\.)*)"|(\S+)', key_file_value(entry, "Exec")):
        word = plain or re.sub(r'\\(["`$\\])', r"\1", quoted)
        arguments += paths if plain == "%F" else [word.replace("%%", "%")]
    subprocess.run(arguments, check=True)


def nemo(entry, paths):
    line = key_file_value(entry, "Exec").replace("%U", " ".join(f'"{uri(path)}"' for path in paths))
    subprocess.run(shlex.split(line), check=True)


def thunar(entry, paths):
    [command] = [action.findtext("command")
                 for action in xml.etree.ElementTree.parse(entry).iter("action")
                 if action.findtext("unique-id") == "app.tarnwick.Tarnwick.finder"]
    codes = {"%%": "%", "%U": " ".join(shlex.quote(uri(path)) for path in paths)}
    subprocess.run(["/bin/sh", "-c", re.sub("%.", lambda match: codes[match.group(0)], command)], check=True)


def script(variable, entry, paths):
    os.environ[variable] = "".join(uri(path) + "\n" for path in paths)
    subprocess.run([entry, *map(os.path.basename, paths)], check=True)


class MenuItem:
    def __init__(self, name, label, tip, icon):
        assert label == "用 Tarnwick 压缩"

    def connect(self, _signal, handler, *data):
        self.activate = lambda: handler(self, *data)


def file_info(path):
    extension = os.path.splitext(path)[1][1:].lower().replace("jpg", "jpeg")
    return types.SimpleNamespace(get_uri=lambda: uri(path), get_uri_scheme=lambda: "file",
                                 get_mime_type=lambda: "image/" + extension)


def extension(module, has_window, entry, paths):
    repository = types.ModuleType("gi.repository")
    repository.GObject = types.SimpleNamespace(GObject=type("GObject", (), {}))
    setattr(repository, module,
            types.SimpleNamespace(MenuProvider=type("MenuProvider", (), {}), MenuItem=MenuItem))
    sys.modules.update({"gi": types.ModuleType("gi"), "gi.repository": repository})
    menu = runpy.run_path(entry)["TarnwickMenu"]()
    for item in menu.get_file_items(*([None] if has_window else []), list(map(file_info, paths))):
        item.activate()
        # The subprocess module may already have reaped the process.
        with contextlib.suppress(ChildProcessError):
            os.wait()


kind, *given = sys.argv[1], sys.argv[2], sys.argv[3:]
if kind in ("dolphin", "nemo", "thunar"):
    globals()[kind](*given)
elif kind.endswith("-script"):
    script(kind.removesuffix("-script").upper() + "_SCRIPT_SELECTED_URIS", *given)
else:
    extension(kind.split("-")[0].capitalize(), kind != "nautilus", *given)
