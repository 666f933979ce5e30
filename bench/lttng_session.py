"""A tracing session of the distribution's tracer, with the benchmark's events enabled: overwriting memory buffers that
are never written out, as a flight recorder has them."""

import contextlib
import os
import subprocess
import time


def run(*command):
    done = subprocess.run(command, capture_output=True, text=True)
    if done.returncode != 0:
        raise RuntimeError(f"{' '.join(command)}: {done.stderr.strip()}")


def answers():
    return subprocess.run(["lttng", "--no-sessiond", "list"], capture_output=True).returncode == 0


def wait_until_it_answers(daemon):
    end = time.monotonic() + 10
    while not answers():
        if daemon.poll() is not None or time.monotonic() > end:
            raise RuntimeError("lttng-sessiond does not answer")
        time.sleep(0.1)


@contextlib.contextmanager
def daemon():
    """Runs the session daemon for as long as the context lasts, unless one runs already."""
    if answers():
        yield
        return
    process = subprocess.Popen(["lttng-sessiond", "--no-kernel", "--quiet"])
    try:
        wait_until_it_answers(process)
        yield
    finally:
        process.terminate()
        process.wait()


@contextlib.contextmanager
def session():
    """A session of this process's own: what others trace is left alone."""
    name = f"oru-bench-{os.getpid()}"
    with daemon():
        run("lttng", "create", name, "--snapshot")
        try:
            run("lttng", "enable-channel", "--userspace", "--session", name, "--overwrite", "ring")
            run("lttng", "enable-event", "--userspace", "--session", name, "--channel", "ring", "oru_bench:*")
            run("lttng", "start", name)
            yield
        finally:
            run("lttng", "destroy", name)
