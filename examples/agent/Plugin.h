#pragma once

/// What a plug-in library exports: its work, done once. The process's log is set up and its configuration
/// read. Returns the process's exit code.
extern "C" __attribute__((visibility("default"))) int runPlugin();

inline constexpr char pluginEntryPoint[] = "runPlugin";
