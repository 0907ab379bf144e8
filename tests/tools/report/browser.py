# SPDX-License-Identifier: MIT
"""Shows pages in a browser without a screen, and compares their pictures."""

import json
import re
import shutil
import subprocess
import tempfile
from base64 import b64encode
from contextlib import contextmanager
from html import escape, unescape
from pathlib import Path

BROWSER = shutil.which("chromium")

# Compares each two images, by the mean colours of squares of 8 pixels: versions of a browser smooth
# the edges of letters differently.
COMPARE = """
const square = 8, visible = 40;
function means(image) {
  const width = Math.ceil(image.naturalWidth / square);
  const height = Math.ceil(image.naturalHeight / square);
  const canvas = document.createElement("canvas");
  canvas.width = image.naturalWidth;
  canvas.height = image.naturalHeight;
  const context = canvas.getContext("2d");
  context.drawImage(image, 0, 0);
  const data = context.getImageData(0, 0, canvas.width, canvas.height).data;
  const sums = new Float64Array(width * height * 4);
  for (let y = 0; y < canvas.height; ++y)
    for (let x = 0; x < canvas.width; ++x) {
      const from = (y * canvas.width + x) * 4;
      const to = (Math.floor(y / square) * width + Math.floor(x / square)) * 4;
      for (let i = 0; i < 3; ++i) sums[to + i] += data[from + i];
    }
  return sums.map(sum => sum / square / square);
}
function share(one, other) {
  if (one.naturalWidth !== other.naturalWidth || one.naturalHeight !== other.naturalHeight)
    return 1;
  const first = means(one), second = means(other);
  let different = 0;
  for (let i = 0; i < first.length; i += 4)
    if ([0, 1, 2].some(j => Math.abs(first[i + j] - second[i + j]) > visible)) ++different;
  return different / (first.length / 4);
}
const images = [...document.images];
return images.filter((_, i) => i % 2 === 0).map((image, i) => share(image, images[2 * i + 1]));
"""

# Applies the colours for dark screens, whatever the browser prefers.
DARK = """<script>
for (const sheet of document.styleSheets)
  for (const rule of sheet.cssRules)
    if (rule.media && rule.media.mediaText.includes("dark")) rule.media.mediaText = "all";
</script>"""


def command(profile, *arguments):
    """The command of a browser with an empty profile."""
    return [BROWSER, "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
            "--no-first-run", "--disable-background-networking", "--disable-component-update",
            "--disable-sync", "--hide-scrollbars", f"--user-data-dir={profile}", *arguments]


def browse(*arguments):
    """What the browser prints."""
    with tempfile.TemporaryDirectory() as profile:
        return subprocess.run(command(profile, *arguments), check=True, capture_output=True,
                              timeout=100).stdout.decode()


@contextmanager
def running(address):
    """A browser that shows an address until the block ends."""
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as profile:
        with subprocess.Popen(command(profile, address), stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL) as browser:
            try:
                yield
            finally:
                browser.terminate()


def measure(page, script):
    """The object that the script returns on the page."""
    with tempfile.TemporaryDirectory() as directory:
        file = Path(directory, "page.html")
        file.write_text(page.replace("</body>", f"""<pre id="measured"></pre><script>
window.addEventListener("load", () => {{
  document.getElementById("measured").textContent = JSON.stringify((() => {{{script}}})());
}});</script></body>"""))
        dump = browse("--dump-dom", f"file://{file}")
    return json.loads(unescape(re.search('<pre id="measured">(.*?)</pre>', dump, re.S)[1]))


def framed(page, width, height):
    """A page that shows another one on a screen of that size; browsers have a smallest width."""
    return ('<!DOCTYPE html><html><body style="margin:0"><iframe style="border:0" '
            f'width="{width}" height="{height}" srcdoc="{escape(page)}"></iframe></body></html>')


def screenshot(page, size):
    """The picture of a page, as the bytes of a PNG file."""
    with tempfile.TemporaryDirectory() as directory:
        file, picture = Path(directory, "page.html"), Path(directory, "page.png")
        file.write_text(page)
        browse(f"--screenshot={picture}", f"--window-size={size[0]},{size[1]}", f"file://{file}")
        return picture.read_bytes()


def differences(pairs):
    """For each pair of PNG files the share of squares that are visibly different; 1 for pictures of
    different sizes."""
    images = "".join(f'<img src="data:image/png;base64,{b64encode(picture).decode()}">'
                     for pair in pairs for picture in pair)
    return measure(f"<!DOCTYPE html><html><body>{images}</body></html>", COMPARE)
