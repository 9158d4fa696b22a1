extern "C" __attribute__((visibility("default"))) int start() {
    return 42;
}
