#!/usr/bin/env python3
"""Rates mails through the C interface. Prints of each file the rating, from 0 (let it pass) to 100
(spam), the MD5 digest and the name."""

import ctypes
import pathlib
import sys

SUCCESS = 0
TEXT = 1


class Value(ctypes.Structure):
    """An argument, or a value that comes back: brindlemoss_value."""

    _fields_ = [
        ("type", ctypes.c_uint32),
        ("number", ctypes.c_int32),
        ("text", ctypes.c_void_p),
        ("length", ctypes.c_size_t),
    ]


def load_library():
    library = ctypes.CDLL("libbrindlemoss.so.0")
    library.brindlemoss_score.argtypes = [
        ctypes.c_char_p, ctypes.c_size_t, ctypes.c_bool, ctypes.POINTER(ctypes.c_int32)]
    library.brindlemoss_create.argtypes = [ctypes.c_char_p, ctypes.POINTER(ctypes.c_void_p)]
    library.brindlemoss_release.argtypes = [ctypes.c_void_p]
    library.brindlemoss_release.restype = None
    library.brindlemoss_invoke.argtypes = [
        ctypes.c_void_p, ctypes.c_char_p, ctypes.POINTER(Value), ctypes.c_size_t,
        ctypes.POINTER(ctypes.POINTER(Value)), ctypes.POINTER(ctypes.c_size_t)]
    library.brindlemoss_free_results.argtypes = [ctypes.POINTER(Value)]
    library.brindlemoss_free_results.restype = None
    for function in (library.brindlemoss_score, library.brindlemoss_create,
                     library.brindlemoss_invoke):
        function.restype = ctypes.c_uint32
    return library


class Digest:
    """An object of a class, made and called by name."""

    def __init__(self, library):
        self._library = library
        self._object = ctypes.c_void_p()
        if library.brindlemoss_create(b"Brindlemoss.Digest", self._object) != SUCCESS:
            raise RuntimeError("there is no digest")

    def __enter__(self):
        return self

    def __exit__(self, *error):
        self._library.brindlemoss_release(self._object)

    def md5(self, mail):
        # Bytes of mail go into a text as they are, one a unit.
        units = mail.decode("latin-1").encode("utf-16-le")
        text = Value(TEXT, 0, ctypes.cast(units, ctypes.c_void_p), len(mail))
        results = ctypes.POINTER(Value)()
        if self._library.brindlemoss_invoke(self._object, b"MD5", text, 1, results, None) != SUCCESS:
            raise RuntimeError("MD5 could not be called")
        try:
            return ctypes.string_at(results[0].text, 2 * results[0].length).decode("utf-16-le")
        finally:
            self._library.brindlemoss_free_results(results)


def main(names):
    library = load_library()
    with Digest(library) as digest:
        for name in names:
            mail = pathlib.Path(name).read_bytes()
            rating = ctypes.c_int32()
            if library.brindlemoss_score(mail, len(mail), True, rating) != SUCCESS:
                sys.exit(f"cannot rate {name}")
            print(f"{rating.value:3}  {digest.md5(mail)}  {name}")


if __name__ == "__main__":
    try:
        main(sys.argv[1:])
    except OSError as error:
        sys.exit(str(error))
