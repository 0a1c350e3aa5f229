"""Registers nuriccl's pretty-printers. gdb runs this file when it loads the library, for which it
stands beside it as "libnuriccl.so.1-gdb.py".
"""

import os

import gdb


def load_nuriccl_printers():
    path = os.path.join(os.path.dirname(os.path.realpath(__file__)), "nuriccl_printers.py")
    # Neither in the namespace that all such scripts share, nor as a module that Python would cache
    # beside the library.
    namespace = {"__name__": "nuriccl_printers", "__file__": path}
    with open(path, encoding="ascii") as source:
        exec(compile(source.read(), path, "exec"), namespace)
    namespace["register"](gdb.current_objfile())


load_nuriccl_printers()
