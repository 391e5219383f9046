"""What tests do to the appliance: programs that hang, fail or are not there, file systems that are full."""
import contextlib
import os
import pathlib
import tempfile

from gateway import run, wait_for

ORIGINALS = {}


def replace(program, script):
    """The program becomes this shell script, in which REAL is what it was at first; None: it is removed."""
    path = pathlib.Path(program)
    new = path.with_name('.new')
    if program not in ORIGINALS:
        real = ORIGINALS[program] = pathlib.Path(tempfile.mkdtemp(dir=path.parent), path.name)  # by its name busybox knows it
        real.symlink_to(os.path.realpath(path)) if path.is_symlink() else os.link(path, real)
    new.write_text(f'#!/bin/sh\n{script}\n'.replace('REAL', str(ORIGINALS[program])))
    new.chmod(0o755)
    new.rename(path)
    if script is None:
        path.unlink()


class Held:
    """A program that stops in its first call with such arguments until it may go on; other calls pass, also later."""

    def __init__(self, program, pattern='*'):
        folder = pathlib.Path(tempfile.mkdtemp(dir='/run'))
        self.pid, self.go = folder / 'pid', folder / 'go'
        replace(program, f'case "$*" in {pattern}) mkdir {folder}/at 2>/dev/null && echo $$ >{self.pid} &&\n'
                         f'while [ ! -e {self.go} ]; do sleep 0.02; done ;; esac\nexec REAL "$@"')

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.go.touch()

    def reached(self):
        wait_for('the call', lambda: self.pid.exists() and self.pid.read_text())

    def let_go(self):
        """Returns when the call has ended, which may have outlived its caller."""
        self.go.touch()
        wait_for('its end', lambda: not os.path.exists(f'/proc/{self.pid.read_text().strip()}'))


@contextlib.contextmanager
def mounted(*words):
    run('mount', *words)
    try:
        yield
    finally:
        run('umount', '-l', words[-1])


def small_disk(folder):
    """A file system of its own, empty at first."""
    os.makedirs(folder, exist_ok=True)
    return mounted('-t', 'tmpfs', '-o', 'size=8m', 'none', folder)


@contextlib.contextmanager
def full(folder, blocks=0):
    """Only so many more blocks can be written below the folder."""
    filler = pathlib.Path(folder, 'filler')
    with filler.open('wb', buffering=0) as file:
        while os.statvfs(folder).f_bfree > blocks:
            file.write(bytes(4096))
    yield
    filler.unlink()
