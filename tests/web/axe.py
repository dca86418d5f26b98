"""axe-core, which finds parts of a page that are not accessible without sight or without a mouse."""
import gzip
from pathlib import Path

SCRIPT = gzip.decompress((Path(__file__).parent / "vendor/axe-core/axe.min.js.gz").read_bytes()).decode()
