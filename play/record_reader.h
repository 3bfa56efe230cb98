/* From the members of a scene file to a parameter record. All functions throw SceneError. */
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <play/scene.h>
#include <play/scene_file.h>

/* Where the thing of that name stands in the list. */
template <class Named>
std::size_t index_of(const std::vector<Named> &all, const Value &value, const char *what)
{
	const std::string name = read_text(value);
	const auto found = std::find_if(
	    all.begin(), all.end(), [&name](const Named &named) { return named.name == name; });
	if (found == all.end())
		complain(value, "expected the name of " + std::string(what) + ", found \"" + name + "\"");
	return static_cast<std::size_t>(found - all.begin());
}

/* The members that a record of the kind may have, in an object and in the "set" of an update. */
std::vector<std::string_view> record_members(const RecordKind &kind);

/* Reads what the value says of the record and leaves the rest. Tells what a frame has to rebuild
 * for it. Pixels go to the scene, which the record then points into. */
UpdateMode read_record(Scene &scene, Record &record, const Value &value);

/* The path of a picture that the library can show. */
std::string read_picture_path(const Value &value);

/* A picture in memory; its pixels go to the scene. */
TextureData read_texture_data(Scene &scene, const Value &value);
