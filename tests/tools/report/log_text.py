# SPDX-License-Identifier: MIT
"""Creates logs for the tests of ixla-report, and starts real cores."""

import os
import shutil
import subprocess
from pathlib import Path

HOUR = 3_600_000


def line(time: int, text: str, kind: str = "D", thread: int = 100, process: int = 100,
         tag: str = "Core") -> str:
    """One line, with its time in milliseconds after midnight."""
    seconds, milli = divmod(time, 1000)
    minutes, second = divmod(seconds, 60)
    hour, minute = divmod(minutes, 60)
    clock = f"{hour:02}:{minute:02}:{second:02}.{milli:03}"
    return f"2026-05-04 {clock} {process}:{thread} {kind} {tag} {text}\n"


def begin(time: int, process: int = 100) -> str:
    return (line(time, "*" * 50, process=process)
            + line(time, "[startFlow] Logger initialized.", process=process)
            + line(time, "[startFlow] Core v3.3.32", process=process))


def load(time: int, name: str, took: int = 1, memory: int = 4096) -> str:
    path = f"plugins/{name}"
    return (line(time, f"[loadPluginLib] in library: {path}")
            + line(time, f"[processPlugin][pg:{address(name)}] library: {path}")
            + line(time, f"[processPlugin] Add interface ID: id.{name}")
            + line(time + took, "[loadPluginLib] processPlugin(...) res: 0 ")
            + line(time + took,
                   f"[loadPluginLib] Memory usage of plugin {path}: {memory % 2**64}", "I"))


def address(name: str) -> str:
    return "0x" + name.encode().hex()[:16]


def init(time: int, name: str, took: int, thread: int = 100, result: int = 0,
         inside: str = "") -> str:
    about = f"[initPlugin][pg:{address(name)}]"
    end = "Init plugin done." if result == 0 else f"Failed to init plugin err: {result}"
    return (line(time, f"{about} Init plugin in thread ID: 0xf7", thread=thread)
            + line(time, "[initPlugin] Proc mem before plugin: [1000000]", "I", thread=thread)
            + inside
            + line(time + took, f"{about} {end}", "D" if result == 0 else "E", thread=thread)
            + line(time + took, "[initPlugin] Proc mem after plugin: [3000000]", "I",
                   thread=thread))


def wait(time: int, name: str, took: int, thread: int = 100, chain: str = "") -> str:
    about = f"[intiPlugin][pg:{address(name)}]"
    said = line(time + took, f"{about} Still waiting: {chain}", "I", thread=thread) if chain else ""
    return (line(time, f"{about} Waiting other thread to init plugin...", thread=thread) + said
            + line(time + took, f"{about} Waiting finished iCorePg.fInitState: 2", thread=thread))


def done(time: int) -> str:
    return line(time, "[startFlow] Done.")


def run_core(directory: Path, host: str, plugin: str, pace: dict[str, str], first: str) -> bytes:
    """The log of a core that initialises the given plugin first; each plugin has its pace."""
    for name in ("plugins", "config", "log"):
        (directory / name).mkdir()
    for name in pace:
        shutil.copy(plugin, directory / f"plugins/lib{name}.so")
    (directory / "config/ixlap.configmanager.prs").write_text("a = a.prs\n")
    environment = os.environ | {f"PACE_{name}": steps for name, steps in pace.items()}
    subprocess.run([host, "core.plugins.dir=plugins", "core.plugins.config.dir=config",
                    "core.plugins.log.dir=log", "core.log.file=core.log",
                    "core.free.plugins.lib=false", f"core.autostart.list={first}",
                    "--seconds", "0"],
                   cwd=directory, env=environment, check=True, capture_output=True, timeout=60)
    return (directory / "core.log").read_bytes()
