#include <play/records.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace
{

using enum FieldKind;

constexpr Field kBackgroundFields[] = {
    {"in_frame", count, offsetof(Backgroud_animationpara, in_frame)},
};

constexpr Field kFlashFields[] = {
    {"pre_frame", count, offsetof(Flash_animationpara, pre_frame)},
    {"on_frame", count, offsetof(Flash_animationpara, on_frame)},
    {"off_frame", count, offsetof(Flash_animationpara, off_frame)},
    {"loopcnt", count, offsetof(Flash_animationpara, loopcnt)},
    {"delonloopcnt", flag, offsetof(Flash_animationpara, delonloopcnt)},
    {"on_alpha", alpha, offsetof(Flash_animationpara, on_alpha), 1.0f},
    {"off_alpha", alpha, offsetof(Flash_animationpara, off_alpha)},
};

constexpr Field kFadeFields[] = {
    {"pre_frame", count, offsetof(FadeInOutLoop_animationpara, pre_frame)},
    {"in_frame", count, offsetof(FadeInOutLoop_animationpara, in_frame)},
    {"sin_frame", count, offsetof(FadeInOutLoop_animationpara, sin_frame)},
    {"out_frame", count, offsetof(FadeInOutLoop_animationpara, out_frame)},
    {"sout_frame", count, offsetof(FadeInOutLoop_animationpara, sout_frame)},
    {"loopcnt", count, offsetof(FadeInOutLoop_animationpara, loopcnt)},
    {"delonloopcnt", flag, offsetof(FadeInOutLoop_animationpara, delonloopcnt)},
    {"in_alpha", alpha, offsetof(FadeInOutLoop_animationpara, in_alpha), 1.0f},
    {"out_alpha", alpha, offsetof(FadeInOutLoop_animationpara, out_alpha)},
};

constexpr Field kGradualFields[] = {
    {"pre_frame", count, offsetof(GraduallyDispLoop_animationpara, pre_frame)},
    {"in_frame", count, offsetof(GraduallyDispLoop_animationpara, in_frame)},
    {"sin_frame", count, offsetof(GraduallyDispLoop_animationpara, sin_frame)},
    {"out_frame", count, offsetof(GraduallyDispLoop_animationpara, out_frame)},
    {"sout_frame", count, offsetof(GraduallyDispLoop_animationpara, sout_frame)},
    {"loopcnt", count, offsetof(GraduallyDispLoop_animationpara, loopcnt)},
    {"delonloopcnt", flag, offsetof(GraduallyDispLoop_animationpara, delonloopcnt)},
    {"in_alpha", alpha, offsetof(GraduallyDispLoop_animationpara, in_alpha), 1.0f},
    {"out_alpha", alpha, offsetof(GraduallyDispLoop_animationpara, out_alpha)},
    {"gmode_show", gradual_mode, offsetof(GraduallyDispLoop_animationpara, gmode_show)},
    {"gmode_hide", gradual_mode, offsetof(GraduallyDispLoop_animationpara, gmode_hide)},
};

constexpr Field kSequenceFields[] = {
    {"pre_frame", count, offsetof(SeqLoop_animationpara, pre_frame)},
    {"in_frame", count, offsetof(SeqLoop_animationpara, in_frame)},
    {"sin_frame", count, offsetof(SeqLoop_animationpara, sin_frame)},
    {"out_frame", count, offsetof(SeqLoop_animationpara, out_frame)},
    {"sout_frame", count, offsetof(SeqLoop_animationpara, sout_frame)},
    {"loopcnt", count, offsetof(SeqLoop_animationpara, loopcnt)},
    {"delonloopcnt", flag, offsetof(SeqLoop_animationpara, delonloopcnt)},
    {"seq_show", motion, offsetof(SeqLoop_animationpara, seq_show)},
    {"seq_hide", motion, offsetof(SeqLoop_animationpara, seq_hide)},
};

/* All records begin alike. */
static_assert(offsetof(Backgroud_animationpara, textures) == sizeof(InPosition2D));
static_assert(offsetof(VideoGST_animationpara, texcoord) == sizeof(InPosition2D));
static_assert(offsetof(VideoRAW_animationpara, texcoord) == sizeof(InPosition2D));

template <class Para>
constexpr RecordKind image(std::string_view name, AnimationType type, std::span<const Field> fields,
    Coordinates coordinates = Coordinates::none, std::size_t texture_limit = ANIMATION_MAX_TEXTURES)
{
	static_assert(offsetof(Para, textures) == sizeof(InPosition2D));
	return {name, type, sizeof(Para), offsetof(Para, update), coordinates, texture_limit, fields};
}

template <class Para>
constexpr RecordKind video(std::string_view name, AnimationType type)
{
	static_assert(offsetof(Para, texcoord) == sizeof(InPosition2D));
	return {name, type, sizeof(Para), offsetof(Para, update), Coordinates::video, 0, {}};
}

constexpr RecordKind kKinds[] = {
    image<Backgroud_animationpara>("ANI_BACKGROUND", ANI_BACKGROUND, kBackgroundFields),
    image<Flash_animationpara>("ANI_FLASH", ANI_FLASH, kFlashFields),
    image<TexCut_animationpara>("ANI_TEX_CUT", ANI_TEX_CUT, kFlashFields, Coordinates::cut),
    image<FadeInOutLoop_animationpara>("ANI_FADEINOUT", ANI_FADEINOUT, kFadeFields),
    image<FadeInOutLoop_animationpara>("ANI_CHARACTERISTIC", ANI_CHARACTERISTIC, kFadeFields),
    image<GraduallyDispLoop_animationpara>("ANI_GRADUALLYDISP", ANI_GRADUALLYDISP, kGradualFields,
        Coordinates::none, ANIMATION_MAX_GRADUAL_TEXTURES),
    image<SeqLoop_animationpara>("ANI_SEQUENCE", ANI_SEQUENCE, kSequenceFields),
    video<VideoGST_animationpara>("ANI_VIDEO_GST", ANI_VIDEO_GST),
    video<VideoRAW_animationpara>("ANI_VIDEO_RAW", ANI_VIDEO_RAW),
};

constexpr Word kGradualModes[] = {
    {"GRAD_NONE", GRAD_NONE},
    {"GRAD_LEFT2RIGHT", GRAD_LEFT2RIGHT},
    {"GRAD_RIGHT2LEFT", GRAD_RIGHT2LEFT},
    {"GRAD_TOP2BOTTOM", GRAD_TOP2BOTTOM},
    {"GRAD_BOTTOM2TOP", GRAD_BOTTOM2TOP},
    {"GRAD_CENTER2EDGE", GRAD_CENTER2EDGE},
    {"GRAD_EDGE2CENTER", GRAD_EDGE2CENTER},
    {"GRAD_2SIDES2MIDDLE", GRAD_2SIDES2MIDDLE},
    {"GRAD_MIDDLE22SIDES", GRAD_MIDDLE22SIDES},
    {"GRAD_CENTER2SURROUND", GRAD_CENTER2SURROUND},
    {"GRAD_SURROUND2CENTER", GRAD_SURROUND2CENTER},
    {"GRAD_BLOCKS", GRAD_BLOCKS},
};

constexpr Word kMotions[] = {
    {"SEQ_NONE", SEQ_NONE},
    {"SEQ_WAVE", SEQ_WAVE},
    {"SEQ_FLOATINOUT", SEQ_FLOATINOUT},
    {"SEQ_WHIP", SEQ_WHIP},
    {"SEQ_SCALEROTATE", SEQ_SCALEROTATE},
};

template <class T>
void store(Record &record, std::size_t offset, T value)
{
	std::memcpy(&record.para[offset], &value, sizeof value);
}

} // namespace

const std::span<const RecordKind> kRecordKinds = kKinds;

Record::Record(const RecordKind &record_kind) : kind(&record_kind), para(record_kind.size)
{
	for (const Field &field : kind->fields) {
		if (field.kind == alpha)
			store(*this, field.offset, field.initial);
	}
	if (kind->texture_limit) {
		textures_of(*this).mask_index = ANIMATION_NO_TEXTURE;
		textures_of(*this).alpha_index = ANIMATION_NO_TEXTURE;
	}
}

InPosition2D &strip_of(Record &record)
{
	return *reinterpret_cast<InPosition2D *>(record.para.data());
}

UpdateMode &update_of(Record &record)
{
	return *reinterpret_cast<UpdateMode *>(&record.para[record.kind->update_offset]);
}

TextureArray &textures_of(Record &record)
{
	return *reinterpret_cast<TextureArray *>(&record.para[sizeof(InPosition2D)]);
}

bool leaves_by_itself(const Record &record)
{
	return std::ranges::any_of(record.kind->fields, [&record](const Field &field) {
		return field.name == "delonloopcnt" && record.para[field.offset] != std::byte{0};
	});
}

void read_field(Record &record, const Field &field, const Value &value)
{
	switch (field.kind) {
	case count:
		store(record, field.offset, read_count(value));
		break;
	case alpha:
		store(record, field.offset, read_number(value));
		break;
	case flag:
		store(record, field.offset, read_flag(value));
		break;
	case gradual_mode:
		store(
		    record, field.offset, static_cast<GraduallyDispMode>(read_word(value, kGradualModes)));
		break;
	case motion:
		store(record, field.offset, static_cast<SEQUENCE_TYPE>(read_word(value, kMotions)));
		break;
	}
}

void wire(Record &record)
{
	InPosition2D &strip = strip_of(record);
	strip.coordnum = static_cast<std::uint32_t>(record.positions.size() / 2);
	strip.position2d = record.positions.data();
	if (record.kind->coordinates == Coordinates::cut)
		strip.texPosition2d = record.coordinates.data();
	if (record.kind->coordinates == Coordinates::video)
		store(record, sizeof(InPosition2D), record.coordinates.data());
}
