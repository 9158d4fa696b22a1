#pragma once

/// Marks what a program that links the library may use. Everything else is hidden from it.
#define ZUN_API __attribute__((visibility("default")))
