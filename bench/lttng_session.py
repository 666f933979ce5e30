"""A tracing session of the distribution's tracer, with the benchmark's events enabled: overwriting memory buffers that
are never written out, as a flight recorder has them."""

import contextlib
import subprocess
import time


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def answers():
    return subprocess.run(["lttng", "--no-sessiond", "list"], capture_output=True).returncode == 0


def wait_until_it_answers(daemon):
    end = time.monotonic() + 10
    while not answers():
        if daemon.poll() is not None or time.monotonic() > end:
            raise RuntimeError("lttng-sessiond does not answer")
        time.sleep(0.1)


@contextlib.contextmanager
def session():
    """Runs the session daemon for as long as the context lasts, unless one runs already."""
    name = "oru-bench"
    daemon = None
    if not answers():
        daemon = subprocess.Popen(["lttng-sessiond", "--no-kernel", "--quiet"])
        wait_until_it_answers(daemon)
    try:
        run("lttng", "create", name, "--snapshot")
        run("lttng", "enable-channel", "--userspace", "--session", name, "--overwrite", "ring")
        run("lttng", "enable-event", "--userspace", "--session", name, "--channel", "ring", "oru_bench:*")
        run("lttng", "start", name)
        yield
    finally:
        subprocess.run(["lttng", "destroy", name], capture_output=True)
        if daemon:
            daemon.terminate()
            daemon.wait()
