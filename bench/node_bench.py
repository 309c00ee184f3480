#!/usr/bin/env python3
"""What the npm package's bridge costs: node_bench.py BUILD_FOLDER

Installs the package and runs node_bench.js in Node.js for Windows. Needs what tests/node/node_test.py needs.
"""

import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.dont_write_bytecode = True  # the checkout holds sources only
sys.path.append(str(HERE.parent / "tests" / "node"))
import node_test  # noqa: E402


def main():
    node_test.BUILD = Path(sys.argv[1]).resolve()
    failed = False
    for thread in ("own", "other"):
        status, output, _ = node_test.run(HERE / "node_bench.js", thread)
        print(output, end="", flush=True)
        failed = failed or status != 0
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
