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

void read_files(Record &record, const std::vector<Value> &files)
{
	TextureArray &textures = textures_of(record);
	for (std::size_t i = 0; i < files.size(); ++i) {
		const std::string path = read_picture_path(files[i]);
		const bool is_png = picture_format(path) == PictureFormat::png;
		const TextureDataMode mode = is_png ? TEX_PNG : TEX_BMP;
		if (i > 0 && mode != textures.mode)
			complain(
			    files[i], "expected the format of the pictures before it, found \"" + path + "\"");
		textures.mode = mode;
		path.copy(textures.textures_name[i], path.size());
	}
}

/* The entries of the one member that says where the textures come from. */
std::vector<Value> read_sources(Scene &scene, Record &record, const Value &value)
{
	TextureArray &textures = textures_of(record);
	std::vector<Value> sources;
	const auto listed = [&](std::string_view name) {
		const std::optional<Value> found = find_member(value, name);
		if (!found)
			return false;
		if (!sources.empty())
			complain(*found, "expected only one of files, data, ids");
		sources = elements(*found);
		if (sources.empty() || sources.size() > record.kind->texture_limit)
			complain(
			    *found, "expected 1 to " + std::to_string(record.kind->texture_limit) + " entries");
		return true;
	};
	if (listed("files"))
		read_files(record, sources);
	if (listed("data")) {
		textures.mode = TEX_DATA;
		for (std::size_t i = 0; i < sources.size(); ++i)
			textures.texdata[i] = read_texture_data(scene, sources[i]);
	}
	if (listed("ids")) {
		textures.mode = TEX_IDS;
		for (const Value &name : sources)
			record.handles.push_back(index_of(scene.handles, name, "a handle"));
	}
	return sources;
}

/* A texture set is replaced as a whole. */
void read_textures(Scene &scene, Record &record, const Value &value)
{
	constexpr std::string_view kMembers[] = {
	    "files", "data", "ids", "mask_index", "alpha_index", "constant_color"};
	require_members(value, kMembers);
	TextureArray &textures = textures_of(record);
	textures = {};
	record.handles.clear();
	textures.tex_num = static_cast<std::uint32_t>(read_sources(scene, record, value).size());

	const auto read_index = [&](std::string_view name) -> std::uint16_t {
		const std::optional<Value> index = find_member(value, name);
		if (!index)
			return ANIMATION_NO_TEXTURE;
		if (textures.tex_num == 0)
			complain(*index, "expected files, data or ids beside it");
		return static_cast<std::uint16_t>(read_count(*index, 0, textures.tex_num - 1));
	};
	textures.mask_index = read_index("mask_index");
	textures.alpha_index = read_index("alpha_index");

	const std::optional<Value> colour = find_member(value, "constant_color");
	if (colour)
		std::ranges::copy(read_numbers(*colour, 4), textures.constant_color);
	else if (textures.tex_num == 0)
		complain(value, "expected files, data, ids or constant_color");
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
	const float left = sides[0];
	const float top = sides[1];
	const float right = left + sides[2];
	const float bottom = top + sides[3];
	return {left, bottom, right, bottom, left, top, right, top};
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

bool read_positions(Record &record, const Value &value)
{
	constexpr std::size_t kMostPoints = 4096;
	const std::optional<Value> rectangle = find_member(value, "rectangle");
	const std::optional<Value> strip = find_member(value, "strip");
	if (rectangle && strip)
		complain(*strip, "expected only one of rectangle and strip");
	if (rectangle)
		record.positions = read_rectangle(*rectangle);
	if (strip)
		record.positions = read_pairs(*strip, 4, kMostPoints);
	return rectangle || strip;
}

bool read_coordinates(Record &record, const Value &value)
{
	if (record.kind->coordinates == Coordinates::none)
		return false;
	const std::string_view name = coordinates_name(*record.kind);
	const std::size_t points = record.positions.size() / 2;
	const std::optional<Value> found = find_member(value, name);
	if (found)
		record.coordinates = read_pairs(*found, points, points);
	else if (record.kind->coordinates == Coordinates::video && record.coordinates.empty())
		record.coordinates = upright_video(points);
	else if (record.coordinates.size() != record.positions.size())
		complain(value, "expected " + std::string(name) + ", a pair for each point of the strip");
	return found.has_value();
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

UpdateMode read_record(Scene &scene, Record &record, const Value &value)
{
	unsigned int mode = UPD_MISC;
	const std::optional<Value> viewport = find_member(value, "viewport");
	if (viewport)
		strip_of(record).vp_id = static_cast<ViewPortID>(read_word(*viewport, kViewports));
	const bool moved = read_positions(record, value);
	if (record.positions.empty())
		complain(value, "expected a rectangle or a strip");
	const bool cut_anew = read_coordinates(record, value);
	if (viewport || moved || cut_anew)
		mode |= UPD_COORDS;
	if (const auto textures = find_member(value, "textures")) {
		read_textures(scene, record, *textures);
		mode |= UPD_TEXS;
	}
	for (const Field &field : record.kind->fields) {
		if (const auto found = find_member(value, field.name))
			read_field(record, field, *found);
	}
	return static_cast<UpdateMode>(mode);
}
