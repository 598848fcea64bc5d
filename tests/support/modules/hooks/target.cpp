extern "C" int hook_target(int value) { return value + 1; }
