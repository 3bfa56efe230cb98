/* The parameter records as a scene fills them: one table per animation type tells which fields the
 * type has and how each is read. */
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include <animation/animation.h>

#include <play/scene_file.h>

enum class FieldKind {
	count,        /* uint32_t */
	alpha,        /* float */
	flag,         /* bool */
	gradual_mode, /* GraduallyDispMode */
	motion,       /* SEQUENCE_TYPE */
};

/* A field of a type's own, under its name in the record. */
struct Field {
	std::string_view name;
	FieldKind kind;
	std::size_t offset;
	float initial = 0.0f; /* of an alpha that the scene leaves out */
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
	std::size_t size;
	std::size_t update_offset;
	Coordinates coordinates;
	std::size_t texture_limit; /* 0: the record has no texture set */
	std::span<const Field> fields;
};

extern const std::span<const RecordKind> kRecordKinds;

/* A record with everything it points to. The pointers inside para are set by wire(). */
struct Record {
	explicit Record(const RecordKind &record_kind);

	const RecordKind *kind;
	std::vector<std::byte> para;
	std::vector<float> positions;
	std::vector<float> coordinates;
	std::vector<std::size_t> handles; /* of TEX_IDS: indices of the scene's handles */
};

InPosition2D &strip_of(Record &record);
UpdateMode &update_of(Record &record);

/* Only for a kind with a texture set. */
TextureArray &textures_of(Record &record);

/* True if the object may go without being removed, so that its name may be created again. */
bool leaves_by_itself(const Record &record);

/* Reads a field of the type's own into the record. */
void read_field(Record &record, const Field &field, const Value &value);

/* Points the record at its own arrays: after each copy and before each call. */
void wire(Record &record);
