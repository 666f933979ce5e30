#pragma once

// Marks a class or function that the shared library exports. Everything else stays hidden, so what
// carries this mark is the library's public face.
#define ORU_EXPORT __attribute__((visibility("default")))
