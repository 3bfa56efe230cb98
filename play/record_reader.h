/* From the members of a scene file to the description of a record. All functions throw SceneError.
 */
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

/* Reads what the value says of a record of the kind of which this was said before. Pixels go to the
 * scene, which the description then points into. */
Description read_description(
    Scene &scene, const RecordKind &kind, const Description &before, const Value &value);

/* The path of a picture that the library can show. */
std::string read_picture_path(const Value &value);

/* A picture in memory; its pixels go to the scene. */
TextureData read_texture_data(Scene &scene, const Value &value);
