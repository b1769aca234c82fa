#pragma once

// Marks what the shared library shows; everything else in it is hidden.
#define BRINDLEMOSS_API __attribute__((visibility("default")))
