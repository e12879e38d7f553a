#!/usr/bin/env python3
"""usage: check_printers.py GDB PROGRAM PRINTERS: what gdb shows of the values of PROGRAM."""
import subprocess
import sys

EXPECTED = {
    "name": '"Zoë" Latin1, 3 bytes',
    "wide": '"Zoë" UTF16 NFC',
    "path": r'"/tmp/a \"b\".txt" System, 14 bytes',
    "stamp": "2025-11-25 08:05:09.000001 UTC",
    "date": "2026-11-25 08:05:09.012034",
    "e": 'KelFileNotFoundException: "/x"',
    "none": "no document",
    "xml": '<order><customer id="17">Zoë</customer></order>',
    "array": '2 containers = {[0] = <order><customer id="17">Zoë</customer></order>, [1] = no document}',
    "large": "<a>" + "x" * 197 + "...",
}

gdb, program, printers = sys.argv[1:]
commands = [f"source {printers}", "set breakpoint pending on", "set width 0", "set charset UTF-8", "break Stop", "run", "up"]
commands += [f"print {name}" for name in EXPECTED]
run = subprocess.run([gdb, "-batch", "-nx", *(f"--eval-command={c}" for c in commands), program],
                     stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=100)
output = run.stdout.decode("utf-8", "replace")
shown = [line.split(" = ", 1)[1] for line in output.splitlines() if line.startswith("$")]
wrong = [f"{name} is shown as\n  {was}\nnot as\n  {wanted}"
         for (name, wanted), was in zip(EXPECTED.items(), shown) if was != wanted]
if wrong or len(shown) != len(EXPECTED):
    sys.exit("\n".join(wrong) or output)
print(f"{len(shown)} values are shown")
