#include <zun/platform/helper/CommonHelper.h>

#include <dlfcn.h>

namespace orvane_com::zun::helper {

namespace {

std::string loaderError() {
    char const* const error = dlerror();
    return error ? error : "unknown loader error";
}

} // namespace

void* loadLibrary(std::string const& path, std::string& error) {
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library)
        error = loaderError();
    return library;
}

void* getSymbol(void* library, char const* name, std::string& error) {
    dlerror();
    void* const symbol = dlsym(library, name);
    if (!symbol)
        error = loaderError();
    return symbol;
}

void freeLibrary(void* library) {
    dlclose(library);
}

} // namespace orvane_com::zun::helper
