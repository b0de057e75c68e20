// Which names the shared library shows. Everything is hidden except what these headers mark: classes with operations of
// their own, functions, and constants that are objects. scripts/check-symbols holds the library to it.
#pragma once

#define LC_EXPORT __attribute__((visibility("default")))
