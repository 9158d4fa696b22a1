#include <zun/platform/file/Place.h>
#include <zun/platform/file/SharedFile.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/registry/CaseFolding.h>
#include <zun/platform/registry/RefusedFile.h>
#include <zun/platform/registry/Registry.h>
#include <zun/platform/registry/RegistryFormat.h>
#include <zun/platform/registry/RegistryView.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

using namespace orvane_com::zun;
using registry::RegistryValue;
using registry::RegistryView;

static_assert(registry::textType == REG_SZ);

namespace {

constexpr mode_t newStoreMode = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
constexpr wchar_t const* group = L"Registry";
constexpr char separator = '\\';

/// The keys that are open. A key that is opened several times has one handle and is closed as many times, so
/// that opens which are never closed take no more memory.
class OpenKeys {
public:
    /// None when the key is not open.
    std::optional<std::string> pathOf(HKEY key) const {
        if (key == HKEY_LOCAL_MACHINE)
            return "HKEY_LOCAL_MACHINE";
        auto const found = m_keys.find(key);
        return found != m_keys.end() ? std::optional(found->second.path) : std::nullopt;
    }

    HKEY open(std::string const& path) {
        auto const handle = m_handles.try_emplace(registry::foldCase(path)).first;
        if (!handle->second)
            // NOLINTNEXTLINE(performance-no-int-to-ptr): a number, as HKEY_LOCAL_MACHINE is
            handle->second = reinterpret_cast<HKEY>(++m_lastHandle);
        OpenKey& key = m_keys.try_emplace(handle->second, handle).first->second;
        key.path = path;
        ++key.opens;
        return handle->second;
    }

    bool close(HKEY key) {
        auto const found = m_keys.find(key);
        if (found == m_keys.end())
            return key == HKEY_LOCAL_MACHINE;
        if (--found->second.opens == 0) {
            m_handles.erase(found->second.handle);
            m_keys.erase(found);
        }
        return true;
    }

private:
    /// By the path's folded form.
    using Handles = std::map<std::string, HKEY>;

    struct OpenKey {
        explicit OpenKey(Handles::iterator place) : handle(place) {}

        Handles::iterator handle;
        std::string path;
        unsigned long opens = 0;
    };

    /// Above the root's handle, so that none is ever taken for it.
    std::uintptr_t m_lastHandle = reinterpret_cast<std::uintptr_t>(HKEY_LOCAL_MACHINE);
    std::map<HKEY, OpenKey> m_keys;
    Handles m_handles;
};

struct Registry {
    std::mutex mutex;
    std::optional<RegistryView> view;
    OpenKeys keys;
};

Registry& theRegistry() {
    static Registry registry;
    return registry;
}

bool isPath(std::string_view path) {
    constexpr std::string_view emptyName = "\\\\";
    return registry::isRegistryName(path) && !path.starts_with(separator) && !path.ends_with(separator) &&
           path.find(emptyName) == std::string_view::npos;
}

std::string nameOrEmpty(char const* name) {
    return name ? name : "";
}

/// Where a write goes: the store's file and the key's path.
struct Place {
    std::string store;
    std::string key;
};

long placeOf(HKEY key, Place& place) {
    Registry& registry = theRegistry();
    std::lock_guard const guard(registry.mutex);
    if (!registry.view)
        return ERROR_NOT_READY;
    std::optional<std::string> path = registry.keys.pathOf(key);
    if (!path)
        return ERROR_INVALID_HANDLE;
    place = {registry.view->path(), *std::move(path)};
    return ERROR_SUCCESS;
}

/// The mutex is not held: readers of this process need not wait for another process's write.
long editStore(std::string const& store, std::function<void(std::string&)> const& edit) {
    if (file::editSharedFile(store, edit, newStoreMode))
        return ERROR_SUCCESS;
    registry::logRefusal(group, store);
    bool const isForbidden = errno == EACCES || errno == EPERM || errno == EROFS;
    return isForbidden ? ERROR_ACCESS_DENIED : ERROR_WRITE_FAULT;
}

/// The result of what read the store. Not under the mutex: the log may wait.
long reportRead(long error) {
    if (error != ERROR_READ_FAULT)
        return error;
    Registry& registry = theRegistry();
    std::unique_lock guard(registry.mutex);
    std::string const store = registry.view->path();
    guard.unlock();
    registry::logRefusal(group, store);
    return error;
}

long openKey(HKEY root, char const* subKey, bool create, HKEY* key) {
    std::string const name = nameOrEmpty(subKey);
    if (!key || !isPath(name))
        return ERROR_INVALID_PARAMETER;
    Place place;
    if (long const error = placeOf(root, place))
        return error;
    if (!name.empty())
        place.key.append(1, separator).append(name);
    if (!registry::isWithinKeyLevels(place.key))
        return ERROR_INVALID_PARAMETER;

    Registry& registry = theRegistry();
    std::unique_lock guard(registry.mutex);
    if (!registry.view->refresh())
        return ERROR_READ_FAULT;
    if (!name.empty() && !registry.view->hasKey(place.key)) {
        if (!create)
            return ERROR_FILE_NOT_FOUND;
        guard.unlock();
        long const error = editStore(place.store, [&place](std::string& text) {
            registry::addSection(registry::registryFormat, text, place.key);
        });
        if (error != ERROR_SUCCESS)
            return error;
        guard.lock();
    }
    *key = registry.keys.open(place.key);
    return ERROR_SUCCESS;
}

bool createStore(std::string const& path) {
    if (!file::makeDirectories(file::parentOf(path)))
        return false;
    auto const fill = [](std::string& text) {
        if (text.empty())
            text = registry::emptyRegistryText;
    };
    return file::editSharedFile(path, fill, newStoreMode);
}

long queryValue(HKEY key, char const* name, unsigned long* type, unsigned char* data, unsigned long* size) {
    if (data && !size)
        return ERROR_INVALID_PARAMETER;
    Registry& registry = theRegistry();
    std::lock_guard const guard(registry.mutex);
    if (!registry.view)
        return ERROR_NOT_READY;
    std::optional<std::string> const path = registry.keys.pathOf(key);
    if (!path)
        return ERROR_INVALID_HANDLE;
    if (!registry.view->refresh())
        return ERROR_READ_FAULT;
    RegistryValue const* const value = registry.view->find(*path, nameOrEmpty(name));
    if (!value)
        return ERROR_FILE_NOT_FOUND;
    if (type)
        *type = value->type;
    std::string const& bytes = value->bytes;
    if (data) {
        unsigned long const count = std::min<unsigned long>(*size, bytes.size());
        std::copy_n(bytes.data(), count, data);
        if (value->type == REG_SZ && count < *size && !bytes.ends_with('\0'))
            data[count] = 0;
        *size = count;
    } else if (size) {
        *size = bytes.size();
    }
    return ERROR_SUCCESS;
}

} // namespace

bool InitializeRegistry(std::wstring const& path) {
    std::string const store = helper::toNarrow(path);
    if (store.empty()) {
        errno = EINVAL;
        return false;
    }
    RegistryView view(store);
    if ((access(store.c_str(), F_OK) != 0 && (errno != ENOENT || !createStore(store))) || !view.refresh()) {
        registry::logRefusal(group, store);
        return false;
    }
    Registry& registry = theRegistry();
    std::lock_guard const guard(registry.mutex);
    registry.view = std::move(view);
    return true;
}

long RegOpenKey(HKEY root, char const* subKey, HKEY* key) {
    return reportRead(openKey(root, subKey, false, key));
}

long RegCreateKey(HKEY root, char const* subKey, HKEY* key) {
    return reportRead(openKey(root, subKey, true, key));
}

long RegCloseKey(HKEY key) {
    Registry& registry = theRegistry();
    std::lock_guard const guard(registry.mutex);
    return registry.keys.close(key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

long RegQueryValueEx(HKEY key, char const* name, unsigned long* /*reserved*/, unsigned long* type,
                     unsigned char* data, unsigned long* size) {
    return reportRead(queryValue(key, name, type, data, size));
}

long RegSetValueEx(HKEY key, char const* name, unsigned long /*reserved*/, unsigned long type,
                   unsigned char const* data, unsigned long size) {
    std::string const valueName = nameOrEmpty(name);
    if ((!data && size != 0) || !registry::isRegistryName(valueName))
        return ERROR_INVALID_PARAMETER;
    Place place;
    if (long const error = placeOf(key, place))
        return error;
    RegistryValue value{type, {}};
    if (size != 0)
        value.bytes.assign(reinterpret_cast<char const*>(data), size);
    return editStore(place.store, [&, text = registry::formatRegistryValue(value)](std::string& store) {
        registry::setEntry(registry::registryFormat, store, place.key, valueName, text);
    });
}

long RegDeleteValue(HKEY key, char const* name) {
    Place place;
    if (long const error = placeOf(key, place))
        return error;
    bool removed = false;
    long const error = editStore(place.store, [&](std::string& text) {
        removed = registry::removeEntry(registry::registryFormat, text, place.key, nameOrEmpty(name));
    });
    if (error != ERROR_SUCCESS)
        return error;
    return removed ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}
