#include "gltfAccess.h"

#include "toolError.h"

#include <tiny_gltf.h>

#include <cmath>
#include <cstdint>
#include <cstring>

namespace {

constexpr char kBinaryMagic[] = "glTF";

// Import reads animation only: textures are never decoded.
bool skipImage(tinygltf::Image*, int, std::string*, std::string*, int, int, unsigned char const*, int, void*)
{
    return true;
}

std::string firstLine(std::string const& text)
{
    return text.substr(0, text.find('\n'));
}

std::string directoryOf(std::string const& path)
{
    std::size_t const slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

int componentsOf(int type)
{
    switch (type) {
    case TINYGLTF_TYPE_SCALAR: return 1;
    case TINYGLTF_TYPE_VEC2: return 2;
    case TINYGLTF_TYPE_VEC3: return 3;
    case TINYGLTF_TYPE_VEC4: return 4;
    default: return 0;
    }
}

// One component at `bytes`, as glTF reads it: floats as they are, integers
// normalised (animation outputs only use normalised integers).
float readComponent(unsigned char const* bytes, int componentType)
{
    switch (componentType) {
    case TINYGLTF_COMPONENT_TYPE_FLOAT: {
        float value = 0.0f;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }
    case TINYGLTF_COMPONENT_TYPE_BYTE: return std::fmax(float(static_cast<std::int8_t>(bytes[0])) / 127.0f, -1.0f);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE: return float(bytes[0]) / 255.0f;
    case TINYGLTF_COMPONENT_TYPE_SHORT: {
        std::int16_t value = 0;
        std::memcpy(&value, bytes, sizeof value);
        return std::fmax(float(value) / 32767.0f, -1.0f);
    }
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT: {
        std::uint16_t value = 0;
        std::memcpy(&value, bytes, sizeof value);
        return float(value) / 65535.0f;
    }
    default: return NAN;
    }
}

std::uint64_t componentBytes(int componentType)
{
    switch (componentType) {
    case TINYGLTF_COMPONENT_TYPE_FLOAT: return 4;
    case TINYGLTF_COMPONENT_TYPE_BYTE:
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE: return 1;
    case TINYGLTF_COMPONENT_TYPE_SHORT:
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT: return 2;
    default: return 0;
    }
}

}  // namespace

int gltfPathComponents(std::string const& path)
{
    if (path == "translation" || path == "scale") {
        return 3;
    }
    return path == "rotation" ? 4 : 0;
}

void loadGltf(std::string const& path, tinygltf::Model& model)
{
    std::string const bytes = readWholeFile(path);
    tinygltf::TinyGLTF loader;
    loader.SetImageLoader(skipImage, nullptr);
    std::string error;
    std::string warning;
    bool loaded = false;
    try {
        auto const* data = reinterpret_cast<unsigned char const*>(bytes.data());
        auto const size = static_cast<unsigned>(bytes.size());
        if (bytes.compare(0, 4, kBinaryMagic) == 0) {
            loaded = loader.LoadBinaryFromMemory(&model, &error, &warning, data, size, directoryOf(path));
        } else {
            loaded = loader.LoadASCIIFromString(&model, &error, &warning, bytes.data(), size, directoryOf(path));
        }
    } catch (std::exception const& exception) {
        fail(path, "", exception.what());
    }
    if (!loaded) {
        fail(path, "", error.empty() ? "not a glTF 2.0 file" : firstLine(error));
    }
}

std::vector<float> readAccessor(tinygltf::Model const& model, int index, std::string const& file,
                                std::string const& place, int& components)
{
    if (index < 0 || static_cast<std::size_t>(index) >= model.accessors.size()) {
        fail(file, place, "no accessor " + std::to_string(index));
    }
    tinygltf::Accessor const& accessor = model.accessors[static_cast<std::size_t>(index)];
    std::string const where = place + " (accessor " + std::to_string(index) + ")";
    components = componentsOf(accessor.type);
    std::uint64_t const size = componentBytes(accessor.componentType);
    if (components == 0 || size == 0) {
        fail(file, where, "unsupported accessor type for animation data");
    }
    if (accessor.sparse.isSparse) {
        fail(file, where, "sparse accessors are not supported");
    }
    if (accessor.bufferView < 0 || static_cast<std::size_t>(accessor.bufferView) >= model.bufferViews.size()) {
        fail(file, where, "no buffer view " + std::to_string(accessor.bufferView));
    }
    tinygltf::BufferView const& view = model.bufferViews[static_cast<std::size_t>(accessor.bufferView)];
    if (view.buffer < 0 || static_cast<std::size_t>(view.buffer) >= model.buffers.size()) {
        fail(file, where, "no buffer " + std::to_string(view.buffer));
    }
    std::vector<unsigned char> const& buffer = model.buffers[static_cast<std::size_t>(view.buffer)].data;
    std::uint64_t const elementBytes = size * std::uint64_t(components);
    std::uint64_t const stride = view.byteStride != 0 ? view.byteStride : elementBytes;
    std::uint64_t const count = accessor.count;
    // Each term is bounded by the buffer size before the next is added, so
    // the sums cannot wrap.
    bool const viewFits = view.byteOffset <= buffer.size() && view.byteLength <= buffer.size() - view.byteOffset;
    bool const accessorFits =
        viewFits && accessor.byteOffset <= view.byteLength && count <= view.byteLength &&
        (count == 0 || (stride <= view.byteLength && elementBytes <= view.byteLength &&
                        accessor.byteOffset + (count - 1) * stride + elementBytes <= view.byteLength));
    if (!accessorFits) {
        fail(file, where, "accessor out of range of its buffer");
    }
    std::vector<float> values;
    values.reserve(count * std::uint64_t(components));
    unsigned char const* base = buffer.data() + view.byteOffset + accessor.byteOffset;
    for (std::uint64_t element = 0; element < count; ++element) {
        for (int component = 0; component < components; ++component) {
            float const value =
                readComponent(base + element * stride + std::uint64_t(component) * size, accessor.componentType);
            if (!std::isfinite(value)) {
                fail(file, where, "element " + std::to_string(element) + " is not a finite number");
            }
            values.push_back(value);
        }
    }
    return values;
}
