"""What the figures are taken on."""
import os
import pathlib
import platform

LEVELS = {"v3": {"avx2", "bmi2", "fma"},
          "v4": {"avx512f", "avx512bw", "avx512cd", "avx512dq", "avx512vl"}}


def cpu(field):
    """A field of the first processor, or nothing."""
    try:
        text = pathlib.Path("/proc/cpuinfo").read_text()
    except OSError:
        return ""
    return next((line.partition(":")[2].strip() for line in text.splitlines()
                 if line.partition(":")[0].strip() == field), "")


def caches():
    """Such as {"L1d": "32K", "L2": "512K"}."""
    found = {}
    for index in sorted(pathlib.Path("/sys/devices/system/cpu/cpu0/cache").glob("index*")):
        level, kind, size = ((index / name).read_text().strip()
                             for name in ("level", "type", "size"))
        if kind != "Instruction":
            found[f"L{level}{'d' if kind == 'Data' else ''}"] = size
    return found


def system():
    try:
        return platform.freedesktop_os_release().get("PRETTY_NAME", "")
    except OSError:
        return ""


def load():
    """How busy it has been during the last minute, by its own account."""
    try:
        return round(os.getloadavg()[0], 2)
    except OSError:
        return None


def describe():
    flags = set(cpu("flags").split())
    return {
        "cpu": cpu("model name") or platform.machine(),
        "processors": os.cpu_count(),
        "caches": caches(),
        "kernel": f"{platform.system()} {platform.release()}",
        "system": system(),
        "levels": ["baseline"] + [name for name, needs in LEVELS.items() if needs <= flags],
    }
