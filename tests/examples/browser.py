"""A browser for tests: Chromium without a window, driven by selenium (Debian: chromium-driver, python3-selenium)."""
import os
import shutil

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
except ImportError:
    webdriver = None


def launched(*logs):
    """One that keeps these logs; None where something that it takes is not there."""
    program = next(filter(None, map(shutil.which, ("chromium", "chromium-browser", "google-chrome"))), None)
    driver = shutil.which("chromedriver")
    if not (webdriver and program and driver):
        return None
    options = webdriver.ChromeOptions()
    options.binary_location = program
    for argument in ("--headless=new", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars",
                     *(["--no-sandbox"] if os.geteuid() == 0 else [])):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", dict.fromkeys(logs, "ALL"))
    chromium = webdriver.Chrome(service=Service(driver), options=options)
    chromium.set_script_timeout(120)
    return chromium


def resize(chromium, width, height, scale=1, mobile=False):
    chromium.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
        "width": width, "height": height, "deviceScaleFactor": scale, "mobile": mobile})


def prefer(chromium, scheme):
    """light or dark"""
    chromium.execute_cdp_cmd("Emulation.setEmulatedMedia", {
        "features": [{"name": "prefers-color-scheme", "value": scheme}]})
