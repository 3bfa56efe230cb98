#include <play/record_reader.h>

#include <algorithm>
#include <iterator>

#include <play/picture_files.h>

namespace
{

constexpr Word kViewports[] = {{"VP_LCD0", VP_LCD0}, {"VP_LCD1", VP_LCD1}};

constexpr Word kPixelTypes[] = {
    {"GL_RGB", GL_RGB},
    {"GL_BGRA_EXT", GL_BGRA_EXT},
    {"GL_LUMINANCE", GL_LUMINANCE},
    {"GL_LUMINANCE_ALPHA", GL_LUMINANCE_ALPHA},
};

std::size_t bytes_a_pixel(std::uint32_t type)
{
	switch (type) {
	case GL_RGB:
		return 3;
	case GL_BGRA_EXT:
		return 4;
	case GL_LUMINANCE:
		return 1;
	default:
		return 2;
	}
}

/* ---- Pictures -------------------------------------------------------------------------------- */

TextureSet read_files(const std::vector<Value> &files)
{
	TextureSet set;
	for (const Value &file : files) {
		const std::string path = read_picture_path(file);
		const bool is_png = picture_format(path) == PictureFormat::png;
		const TextureDataMode mode = is_png ? TEX_PNG : TEX_BMP;
		if (!set.files.empty() && mode != set.mode)
			complain(file, "expected the format of the pictures before it, found \"" + path + "\"");
		set.mode = mode;
		set.files.push_back(path);
	}
	return set;
}

TextureSet read_data(Scene &scene, const std::vector<Value> &pictures)
{
	TextureSet set = {.mode = TEX_DATA};
	for (const Value &picture : pictures)
		set.data.push_back(read_texture_data(scene, picture));
	return set;
}

TextureSet read_ids(const Scene &scene, const std::vector<Value> &names)
{
	TextureSet set = {.mode = TEX_IDS};
	for (const Value &name : names)
		set.handles.push_back(index_of(scene.handles, name, "a handle"));
	return set;
}

/* The entries of the one member that says where the textures come from; *name tells which. */
std::vector<Value> read_sources(const Value &value, std::size_t limit, std::string_view *name)
{
	std::vector<Value> sources;
	for (const std::string_view candidate : {"files", "data", "ids"}) {
		const std::optional<Value> found = find_member(value, candidate);
		if (!found)
			continue;
		if (!sources.empty())
			complain(*found, "expected only one of files, data, ids");
		sources = elements(*found);
		if (sources.empty() || sources.size() > limit)
			complain(*found, "expected 1 to " + std::to_string(limit) + " entries");
		*name = candidate;
	}
	return sources;
}

TextureSet read_textures(Scene &scene, const RecordKind &kind, const Value &value)
{
	constexpr std::string_view kMembers[] = {
	    "files", "data", "ids", "mask_index", "alpha_index", "constant_color"};
	require_members(value, kMembers);
	std::string_view name;
	const std::vector<Value> sources = read_sources(value, kind.texture_limit, &name);
	TextureSet set = name == "data"  ? read_data(scene, sources)
	                 : name == "ids" ? read_ids(scene, sources)
	                                 : read_files(sources);

	const auto read_index = [&](std::string_view member) -> std::uint16_t {
		const std::optional<Value> index = find_member(value, member);
		if (!index)
			return ANIMATION_NO_TEXTURE;
		if (sources.empty())
			complain(*index, "expected files, data or ids beside it");
		const auto highest = static_cast<std::uint32_t>(sources.size() - 1);
		return static_cast<std::uint16_t>(read_count(*index, 0, highest));
	};
	set.mask_index = read_index("mask_index");
	set.alpha_index = read_index("alpha_index");

	const std::optional<Value> colour = find_member(value, "constant_color");
	if (colour) {
		read_numbers(*colour, 4); /* four of them */
		std::ranges::transform(elements(*colour), set.constant_color.begin(), read_fraction);
	} else if (sources.empty()) {
		complain(value, "expected files, data, ids or constant_color");
	}
	return set;
}

/* ---- Strips ---------------------------------------------------------------------------------- */

std::vector<float> read_pairs(const Value &value, std::size_t lowest, std::size_t highest)
{
	const std::vector<Value> pairs = elements(value);
	if (pairs.size() < lowest || pairs.size() > highest || pairs.size() % 2)
		complain(value,
		    lowest == highest
		        ? "expected " + std::to_string(lowest) + " pairs, one for each point of the strip"
		        : "expected an even number of pairs, at least " + std::to_string(lowest));
	std::vector<float> numbers;
	for (const Value &pair : pairs)
		std::ranges::copy(read_numbers(pair, 2), std::back_inserter(numbers));
	return numbers;
}

/* An upright picture: the strip begins with its bottom edge. */
std::vector<float> read_rectangle(const Value &value)
{
	const std::vector<float> sides = read_numbers(value, 4);
	if (sides[2] <= 0.0f || sides[3] <= 0.0f)
		complain(value, "expected a width and a height above 0");
	const float left = sides[0];
	const float top = sides[1];
	const float right = left + sides[2];
	const float bottom = top + sides[3];
	return {left, bottom, right, bottom, left, top, right, top};
}

std::vector<float> read_strip(const Value &value)
{
	constexpr std::size_t kMostPoints = 4096;
	return read_pairs(value, 4, kMostPoints);
}

/* A decoded picture has its top row first. */
std::vector<float> upright_video(std::size_t points)
{
	std::vector<float> numbers;
	for (std::size_t i = 0; i < points; ++i) {
		const std::size_t row = i / 2;
		const std::size_t last_row = points / 2 - 1;
		numbers.push_back(static_cast<float>(i % 2));
		numbers.push_back(1.0f - static_cast<float>(row) / static_cast<float>(last_row));
	}
	return numbers;
}

std::string_view coordinates_name(const RecordKind &kind)
{
	return kind.coordinates == Coordinates::video ? "texcoord" : "texPosition2d";
}

using Numbers = std::shared_ptr<const std::vector<float>>;

Numbers shared(std::vector<float> numbers)
{
	return std::make_shared<const std::vector<float>>(std::move(numbers));
}

/* An object may wait beside its viewport and come in, but no farther away than it is large. */
void require_in_reach(const Value &value, const std::vector<float> &positions)
{
	constexpr float kWidth = ANIMATION_VIEWPORT_WIDTH;
	constexpr float kHeight = ANIMATION_VIEWPORT_HEIGHT;
	float left = positions[0], right = left, top = positions[1], bottom = top;
	for (std::size_t i = 0; i < positions.size(); i += 2) {
		left = std::min(left, positions[i]);
		right = std::max(right, positions[i]);
		top = std::min(top, positions[i + 1]);
		bottom = std::max(bottom, positions[i + 1]);
	}
	if (left > 2 * kWidth || right < -kWidth || top > 2 * kHeight || bottom < -kHeight)
		complain(value, "expected a place in or near the viewport, 1152 x 576, which this misses");
}

Numbers read_points(const Value &value, std::vector<float> (*read)(const Value &))
{
	std::vector<float> positions = read(value);
	require_in_reach(value, positions);
	return std::make_shared<const std::vector<float>>(std::move(positions));
}

/* NULL if the value says nothing of them. */
Numbers read_positions(const Value &value)
{
	const std::optional<Value> rectangle = find_member(value, "rectangle");
	const std::optional<Value> strip = find_member(value, "strip");
	if (rectangle && strip)
		complain(*strip, "expected only one of rectangle and strip");
	if (rectangle)
		return read_points(*rectangle, read_rectangle);
	return strip ? read_points(*strip, read_strip) : nullptr;
}

/* The same. A strip that gets other points needs other coordinates. */
Numbers read_coordinates(
    const RecordKind &kind, const Description &before, std::size_t points, const Value &value)
{
	if (kind.coordinates == Coordinates::none)
		return nullptr;
	const std::string_view name = coordinates_name(kind);
	if (const std::optional<Value> found = find_member(value, name))
		return shared(read_pairs(*found, points, points));
	if (kind.coordinates == Coordinates::video && !before.coordinates)
		return shared(upright_video(points));
	if (!before.coordinates || before.coordinates->size() != points * 2)
		complain(value, "expected " + std::string(name) + ", a pair for each point of the strip");
	return nullptr;
}

} // namespace

std::string read_picture_path(const Value &value)
{
	constexpr std::size_t kLongest = sizeof TextureArray().textures_name[0] - 1;
	const std::string path = read_text(value);
	std::string fault = picture_fault(path);
	if (path.size() > kLongest)
		fault = "found a path of more than " + std::to_string(kLongest) + " characters";
	if (!fault.empty())
		complain(value, "expected a BMP or PNG picture at \"" + path + "\", " + fault);
	return path;
}

TextureData read_texture_data(Scene &scene, const Value &value)
{
	constexpr std::uint32_t kLargest = 4096;
	constexpr std::string_view kMembers[] = {"width", "height", "textureType", "pixels"};
	require_members(value, kMembers);
	TextureData data = {};
	data.width = read_count(member(value, "width"), 1, kLargest);
	data.height = read_count(member(value, "height"), 1, kLargest);
	data.textureType =
	    static_cast<std::uint32_t>(read_word(member(value, "textureType"), kPixelTypes));

	const Value pixels = member(value, "pixels");
	const std::size_t size = bytes_a_pixel(data.textureType) * data.width * data.height;
	std::vector<std::uint8_t> bytes;
	for (const Value &element : elements(pixels))
		bytes.push_back(static_cast<std::uint8_t>(read_count(element, 0, 255)));
	if (bytes.size() != size)
		complain(pixels, "expected " + std::to_string(size) +
		                     " numbers for this size and type, found " +
		                     std::to_string(bytes.size()));
	data.va = scene.pixels.emplace_back(std::move(bytes)).data();
	return data;
}

std::vector<std::string_view> record_members(const RecordKind &kind)
{
	std::vector<std::string_view> names = {"viewport", "rectangle", "strip"};
	if (kind.coordinates != Coordinates::none)
		names.push_back(coordinates_name(kind));
	if (kind.texture_limit)
		names.emplace_back("textures");
	for (const Field &field : kind.fields)
		names.push_back(field.name);
	return names;
}

Description read_description(
    Scene &scene, const RecordKind &kind, const Description &before, const Value &value)
{
	Description description;
	if (const auto viewport = find_member(value, "viewport"))
		description.viewport = static_cast<ViewPortID>(read_word(*viewport, kViewports));
	description.positions = read_positions(value);
	const Numbers &positions = description.positions ? description.positions : before.positions;
	if (!positions)
		complain(value, "expected a rectangle or a strip");
	description.coordinates = read_coordinates(kind, before, positions->size() / 2, value);
	if (const auto textures = find_member(value, "textures"))
		description.textures =
		    std::make_shared<const TextureSet>(read_textures(scene, kind, *textures));
	for (const Field &field : kind.fields) {
		if (const auto found = find_member(value, field.name))
			description.settings.push_back({&field, field.read(*found)});
	}
	return description;
}
