"""Chooses an entry as a file manager would: reads it by the rules of its format, and starts what it says.

fake-file-manager.py KIND ENTRY FILE...
"""

import importlib.util
import os
import re
import shlex
import subprocess
import sys
import types
import urllib.parse
import xml.etree.ElementTree

MIME_TYPES = {".png": "image/png", ".jpg": "image/jpeg", ".jpeg": "image/jpeg", ".gif": "image/gif",
              ".heic": "image/heic", ".heif": "image/heif"}
sys.dont_write_bytecode = True


def uri(path):
    # What GLib leaves as it is in a file's URI.
    return "file://" + urllib.parse.quote(os.fsencode(path), safe="/!$&'()*+,;=:@~")


def key_file_value(entry, key):
    text = open(entry, encoding="utf-8").read()
    value = re.search(rf"^{key}=(.*)$", text, re.MULTILINE).group(1)
    escapes = {"s": " ", "n": "\n", "t": "\t", "r": "\r", "\\": "\\"}
    return re.sub(r"\\(.)", lambda match: escapes[match.group(1)], value)


def dolphin(entry, paths):
    if not os.access(entry, os.X_OK):
        sys.exit("the service menu is not trusted")
    arguments = []
    for quoted, plain in re.findall(r'"((?:[^"\\]|\\.)*)"|(\S+)', key_file_value(entry, "Exec")):
        if plain == "%F":
            arguments += paths
        else:
            word = plain or re.sub(r'\\(["`$\\])', r"\1", quoted)
            arguments.append(word.replace("%%", "%"))
    subprocess.run(arguments, check=True)


def nemo(entry, paths):
    line = key_file_value(entry, "Exec").replace("%U", " ".join(f'"{uri(path)}"' for path in paths))
    subprocess.run(shlex.split(line), check=True)


def thunar(entry, paths):
    [command] = [action.findtext("command")
                 for action in xml.etree.ElementTree.parse(entry).iter("action")
                 if action.findtext("unique-id") == "app.tarnwick.Tarnwick.finder"]
    codes = {"%%": "%", "%U": " ".join(shlex.quote(uri(path)) for path in paths)}
    line = re.sub("%.", lambda match: codes[match.group(0)], command)
    subprocess.run(["/bin/sh", "-c", line], check=True)


def script(variable, entry, paths):
    environment = dict(os.environ, **{variable: "".join(uri(path) + "\n" for path in paths)})
    subprocess.run([entry, *map(os.path.basename, paths)], env=environment, check=True)


class File:
    def __init__(self, path):
        self.path = path

    def get_uri(self):
        return uri(self.path)

    def get_uri_scheme(self):
        return "file"

    def get_mime_type(self):
        return MIME_TYPES.get(os.path.splitext(self.path)[1].lower(), "text/plain")


class MenuItem:
    def __init__(self, name, label, tip, icon):
        self.label = label

    def connect(self, signal, handler, *data):
        assert signal == "activate"
        self.activate = lambda: handler(self, *data)


def extension(module, has_window, entry, paths):
    provider = types.SimpleNamespace(MenuProvider=type("MenuProvider", (), {}), MenuItem=MenuItem)
    repository = types.ModuleType("gi.repository")
    repository.GObject = types.SimpleNamespace(GObject=type("GObject", (), {}))
    setattr(repository, module, provider)
    sys.modules.update({"gi": types.ModuleType("gi"), "gi.repository": repository})
    found = importlib.util.spec_from_file_location("tarnwick", entry)
    loaded = importlib.util.module_from_spec(found)
    found.loader.exec_module(loaded)
    files = list(map(File, paths))
    items = loaded.TarnwickMenu().get_file_items(*([None] if has_window else []), files)
    if items:
        assert items[0].label == "用 Tarnwick 压缩"
        items[0].activate()
        try:
            os.wait()
        except ChildProcessError:
            pass  # It ended so soon that the subprocess module saw to it.


KINDS = {
    "dolphin": dolphin,
    "nemo": nemo,
    "thunar": thunar,
    "nautilus-script": lambda *given: script("NAUTILUS_SCRIPT_SELECTED_URIS", *given),
    "caja-script": lambda *given: script("CAJA_SCRIPT_SELECTED_URIS", *given),
    "nautilus": lambda *given: extension("Nautilus", False, *given),
    "nautilus-42": lambda *given: extension("Nautilus", True, *given),
    "caja": lambda *given: extension("Caja", True, *given),
}
KINDS[sys.argv[1]](sys.argv[2], sys.argv[3:])
