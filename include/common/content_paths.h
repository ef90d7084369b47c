/// @file
/// The engine's content tree: its folders as paths from the working directory, its files as bare
/// names. The separator is "/" on every platform, and no folder ends in one. The library makes
/// none of the folders.
///
/// ```cpp
/// std::ifstream atlas(Common::TexturesFolder + "/atlas.png", std::ios::binary);
/// ```
///
/// Each module has its own constants, from its loading to its unloading. Any thread may read them.
#pragma once

#include <string>

namespace Common {

// A module that shared them with others could never be unloaded.
#if defined(__GNUC__)
#pragma GCC visibility push(hidden)
#endif

/// @name Folders
/// @{

/// A folder of the content tree, as a path from the working directory.
inline const std::string ContentRoot = "content";

/// A folder beside the content tree, as a path from the working directory.
inline const std::string BinFolder = "bin";

inline const std::string ConfigFolder = ContentRoot + "/config";
inline const std::string ShadersFolder = ContentRoot + "/shaders";
inline const std::string CompiledShadersFolder = ShadersFolder + "/compiled";
inline const std::string FontsFolder = ContentRoot + "/fonts";
inline const std::string TexturesFolder = ContentRoot + "/textures";
inline const std::string UiIconsFolder = ContentRoot + "/ui_icons";
inline const std::string PalettesFolder = ContentRoot + "/palettes";
inline const std::string MeshFolder = ContentRoot + "/mesh";
inline const std::string MeshCacheFolder = MeshFolder + "/cache";
inline const std::string ModelsFolder = ContentRoot + "/models";
inline const std::string SpritesFolder = ContentRoot + "/sprites";
inline const std::string GameFolder = ContentRoot + "/game";
inline const std::string TerrainFolder = GameFolder + "/terrain";
inline const std::string TownFolder = GameFolder + "/town";
inline const std::string CargoFolder = GameFolder + "/cargo";
inline const std::string IndustryFolder = GameFolder + "/industry";
inline const std::string UtResultFolder = ContentRoot + "/ut_result";
inline const std::string UtPatternFolder = ContentRoot + "/ut_pattern";
inline const std::string AutosaveFolder = ModelsFolder + "/autosave";
/// @}

/// @name Files
/// @{

/// A file of the content tree, as its name without a folder.
inline const std::string ConfigFileName = "config.txt";
inline const std::string UserConfigFileName = "user.txt";
inline const std::string ShaderCompilerFileName = "glslc.exe";
inline const std::string PlainFragmentSpvFileName = "plain_fragment_main.spv";
inline const std::string TexturedFragmentSpvFileName = "textured_fragment_main.spv";
inline const std::string VertexSpvFileName = "vertex_main.spv";
inline const std::string PlainFragmentHlslFileName = "plain_fragment_main.hlsl";
inline const std::string TexturedFragmentHlslFileName = "textured_fragment_main.hlsl";
inline const std::string VertexHlslFileName = "vertex_main.hlsl";
inline const std::string PalettedFragmentSpvFileName = "fragment_paletted_main.spv";
inline const std::string PalettedVertexSpvFileName = "vertex_paletted_main.spv";
inline const std::string PalettedFragmentHlslFileName = "fragment_paletted_main.hlsl";
inline const std::string PalettedVertexHlslFileName = "vertex_paletted_main.hlsl";
/// @}

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

}  // namespace Common
