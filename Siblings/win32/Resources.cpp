// Bitmap resources: files in the folder of a module.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "Objects.h"

namespace {

constexpr std::size_t kFileHeaderBytes = 14;  // what a file has before its bitmap

struct Loaded : win32::Object {
    explicit Loaded(std::vector<char> inBytes) : bytes(std::move(inBytes)) { isCounted = false; }

    std::vector<char> bytes;
};

struct Resource : win32::Object {
    Resource(HMODULE inModule, std::filesystem::path inFile)
        : module(inModule), file(std::move(inFile)) {
        isCounted = false;
    }

    const HMODULE module;
    const std::filesystem::path file;
    HGLOBAL loaded = nullptr;
};

struct Module : win32::Object {
    explicit Module(std::filesystem::path inFolder) : folder(std::move(inFolder)) {
        isCounted = false;
    }

    const std::filesystem::path folder;
    std::map<std::uintptr_t, HRSRC> resources;  // those that were found
};

// Nothing for a file that is no bitmap or cannot be read.
std::vector<char> ReadBitmap(const std::filesystem::path& inFile) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(inFile, error);
    if (error || size <= kFileHeaderBytes || size > std::numeric_limits<DWORD>::max()) return {};
    std::ifstream file(inFile, std::ios::binary);
    char header[kFileHeaderBytes]{};
    std::vector<char> bytes(static_cast<std::size_t>(size) - kFileHeaderBytes);
    file.read(header, sizeof header);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file || header[0] != 'B' || header[1] != 'M') return {};
    return bytes;
}

// The handle of a resource's data, which is read once; null when that fails.
HGLOBAL Load(const win32::LockedObjects& inObjects, HMODULE inModule, HRSRC inResource) {
    const auto resource = inObjects->Find<Resource>(inResource);
    if (!resource || resource->module != inModule) return nullptr;
    if (resource->loaded) return resource->loaded;
    std::vector<char> bytes = ReadBitmap(resource->file);
    if (bytes.empty() || !win32::MayAllocate()) return nullptr;
    return resource->loaded = inObjects->Add(std::make_shared<Loaded>(std::move(bytes)));
}

}  // namespace

using namespace win32;

HRSRC FindResourceW(HMODULE inModule, LPCWSTR inName, LPCWSTR inType) try {
    const auto number = reinterpret_cast<std::uintptr_t>(inName);
    if (inType != RT_BITMAP || number > std::numeric_limits<WORD>::max()) return nullptr;
    const LockedObjects objects;
    const auto module = objects->Find<Module>(inModule);
    if (!module) return nullptr;
    HRSRC& resource = module->resources[number];
    if (resource) return resource;
    const std::filesystem::path file = module->folder / (std::to_string(number) + ".bmp");
    std::error_code error;
    if (std::filesystem::is_regular_file(file, error))
        resource = static_cast<HRSRC>(objects->Add(std::make_shared<Resource>(inModule, file)));
    return resource;
} catch (const std::bad_alloc&) {
    return nullptr;
}

HGLOBAL LoadResource(HMODULE inModule, HRSRC inResource) try {
    return Load(LockedObjects(), inModule, inResource);
} catch (const std::bad_alloc&) {
    return nullptr;
}

LPVOID LockResource(HGLOBAL inLoaded) {
    const auto loaded = LockedObjects()->Find<Loaded>(inLoaded);
    return loaded ? loaded->bytes.data() : nullptr;
}

DWORD SizeofResource(HMODULE inModule, HRSRC inResource) try {
    // Loaded even for that, so that the size is that of the data whatever becomes of the file.
    const LockedObjects objects;
    const auto loaded = objects->Find<Loaded>(Load(objects, inModule, inResource));
    return loaded ? static_cast<DWORD>(loaded->bytes.size()) : 0;
} catch (const std::bad_alloc&) {
    return 0;
}

BOOL FreeResource(HGLOBAL) {
    return false;
}

namespace win32 {

HMODULE RegisterModule(const char* inFolder) try {
    std::error_code error;
    if (!inFolder || !std::filesystem::is_directory(inFolder, error)) return nullptr;
    auto folder = std::filesystem::absolute(inFolder, error);
    if (error) return nullptr;
    return static_cast<HMODULE>(LockedObjects()->Add(std::make_shared<Module>(std::move(folder))));
} catch (const std::bad_alloc&) {
    return nullptr;
}

void UnregisterModule(HMODULE inModule) {
    const LockedObjects objects;
    const auto module = objects->Find<Module>(inModule);
    if (!module) return;
    for (const auto& [number, handle] : module->resources) {
        if (const auto resource = objects->Find<Resource>(handle))
            objects->Remove<Loaded>(resource->loaded);
        objects->Remove<Resource>(handle);
    }
    objects->Remove<Module>(inModule);
}

}  // namespace win32
