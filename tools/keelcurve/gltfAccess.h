#pragma once

#include <string>
#include <vector>

namespace tinygltf {
class Model;
}

// Reading glTF files for import and checking what export wrote. Every
// failure names the file and the place (as a path like
// animations/0/samplers/1/output) and goes through fail().

// The target path of morph weights, whose count each file chooses, and the
// most weights the tool takes from one channel (more is a broken file).
inline constexpr char kWeightsPath[] = "weights";
inline constexpr int kMaxMorphWeights = 4096;

// Components per key of a channel's target path: 3 for translation and
// scale, 4 for rotation; 0 for morph weights (their count comes from the
// data) and for paths the tool does not know.
int gltfPathComponents(std::string const& path);

// Loads a .gltf (JSON) or .glb (binary, told by its magic bytes) file with
// its buffers; images are not decoded.
void loadGltf(std::string const& path, tinygltf::Model& model);

// The elements of accessor `index` as floats, `components` per element
// (normalised integers are mapped to [-1, 1] or [0, 1] as glTF defines).
// Fails when the accessor or its views reach outside their buffers, when
// the accessor is sparse, or when an element is not finite.
std::vector<float> readAccessor(tinygltf::Model const& model, int index, std::string const& file,
                                std::string const& place, int& components);
