"""axe-core, which finds what a page keeps from people who cannot see it or use a mouse."""
import gzip
from pathlib import Path

SCRIPT = gzip.decompress((Path(__file__).parent / "vendor/axe-core/axe.min.js.gz").read_bytes()).decode()
