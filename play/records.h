/* The parameter records as a scene fills them: one table per animation type tells which fields the
 * type has. */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <animation/animation.h>

#include <play/scene_file.h>

/* What the library gets: the record of one of its types. */
struct Para;

/* What a field of a type's own can be. */
using FieldValue = std::variant<std::uint32_t, float, bool, GraduallyDispMode, SEQUENCE_TYPE>;

/* A field of a type's own, under its name in the record. */
struct Field {
	std::string_view name;
	FieldValue (*read)(const Value &);
	void (*store)(Para &, const FieldValue &);
	FieldValue initial; /* where the scene leaves it out */
};

/* Which texture coordinates of the caller's a type reads. */
enum class Coordinates {
	none,
	cut,   /* in_position2d.texPosition2d */
	video, /* texcoord */
};

struct RecordKind {
	std::string_view name;
	AnimationType type;
	void (*begin)(Para &); /* a record of this kind, all zero */
	Coordinates coordinates;
	std::size_t texture_limit; /* 0: the record has no texture set */
	std::span<const Field> fields;
};

extern const std::span<const RecordKind> kRecordKinds;

/* The one of files, data and handles that belongs to the mode is filled, or none. */
struct TextureSet {
	TextureDataMode mode = TEX_BMP;
	std::vector<std::string> files;
	std::vector<TextureData> data;
	std::vector<std::size_t> handles; /* indices of the scene's handles */
	std::uint16_t mask_index = ANIMATION_NO_TEXTURE;
	std::uint16_t alpha_index = ANIMATION_NO_TEXTURE;
	std::array<float, 4> constant_color = {};
};

struct Setting {
	const Field *field;
	FieldValue value;
};

/* What a scene says of a record: in an object all of it, in an update what changes. What is NULL or
 * empty stays as it was. Objects that are like each other share the large parts. */
struct Description {
	std::optional<ViewPortID> viewport;
	std::shared_ptr<const std::vector<float>> positions;
	std::shared_ptr<const std::vector<float>> coordinates;
	std::shared_ptr<const TextureSet> textures;
	std::vector<Setting> settings;
};

/* Says more of what has been described before. */
void add(Description &description, const Description &more);

/* What a frame has to rebuild for it. */
UpdateMode rebuilt_by(const Description &description);

/* True if the object may go without being removed, so that its name may be created again. */
bool leaves_by_itself(const Description &description);

/* A record with the arrays that it points to. It stays where it is. */
struct Record {
	explicit Record(const RecordKind &record_kind);
	Record(const Record &) = delete;
	Record(Record &&) = delete;
	Record &operator=(const Record &) = delete;
	Record &operator=(Record &&) = delete;
	~Record();

	const RecordKind *kind;
	std::unique_ptr<Para> para;
	std::vector<float> positions;
	std::vector<float> coordinates;
};

/* As a scene that says nothing of it leaves a record. The frame in a video's record is the
 * player's, and stays. */
void clear(Record &record);

/* Fills in what is described. The handles are the names behind those of the scene. */
void fill(Record &record, const Description &description, std::span<const GLuint> handles);

void *address_of(Record &record);
UpdateMode &update_of(Record &record);
