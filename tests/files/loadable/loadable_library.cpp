#include <zun/Api.h>

extern "C" ZUN_API int loadableAnswer() {
    return 42;
}
