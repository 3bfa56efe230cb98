#include <play/records.h>

#include <algorithm>
#include <type_traits>

struct Para {
	std::variant<Backgroud_animationpara, Flash_animationpara, FadeInOutLoop_animationpara,
	    GraduallyDispLoop_animationpara, SeqLoop_animationpara, VideoGST_animationpara,
	    VideoRAW_animationpara>
	    record;
};

namespace
{

template <class Enumeration>
constexpr auto kWords = nullptr;

template <>
constexpr auto kWords<GraduallyDispMode> = std::to_array<Word>({
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
});

template <>
constexpr auto kWords<SEQUENCE_TYPE> = std::to_array<Word>({
    {"SEQ_NONE", SEQ_NONE},
    {"SEQ_WAVE", SEQ_WAVE},
    {"SEQ_FLOATINOUT", SEQ_FLOATINOUT},
    {"SEQ_WHIP", SEQ_WHIP},
    {"SEQ_SCALEROTATE", SEQ_SCALEROTATE},
});

template <class T>
T read_as(const Value &value)
{
	if constexpr (std::is_same_v<T, std::uint32_t>)
		return read_count(value);
	else if constexpr (std::is_same_v<T, float>)
		return read_fraction(value);
	else if constexpr (std::is_same_v<T, bool>)
		return read_flag(value);
	else
		return static_cast<T>(read_word(value, kWords<T>));
}

template <class Owner, class T>
T type_of(T Owner::*);
template <class Owner, class T>
Owner owner_of(T Owner::*);

/* All there is to say of a field follows from its member. */
template <auto kMember>
constexpr Field field(std::string_view name, decltype(type_of(kMember)) initial = {})
{
	using T = decltype(type_of(kMember));
	using Owner = decltype(owner_of(kMember));
	return {
	    name,
	    [](const Value &value) { return FieldValue(read_as<T>(value)); },
	    [](Para &para, const FieldValue &value) {
		    std::get<Owner>(para.record).*kMember = std::get<T>(value);
	    },
	    initial,
	};
}

constexpr Field kBackgroundFields[] = {
    field<&Backgroud_animationpara::in_frame>("in_frame"),
};

constexpr Field kFlashFields[] = {
    field<&Flash_animationpara::pre_frame>("pre_frame"),
    field<&Flash_animationpara::on_frame>("on_frame"),
    field<&Flash_animationpara::off_frame>("off_frame"),
    field<&Flash_animationpara::loopcnt>("loopcnt"),
    field<&Flash_animationpara::delonloopcnt>("delonloopcnt"),
    field<&Flash_animationpara::on_alpha>("on_alpha", 1.0f),
    field<&Flash_animationpara::off_alpha>("off_alpha"),
};

constexpr Field kFadeFields[] = {
    field<&FadeInOutLoop_animationpara::pre_frame>("pre_frame"),
    field<&FadeInOutLoop_animationpara::in_frame>("in_frame"),
    field<&FadeInOutLoop_animationpara::sin_frame>("sin_frame"),
    field<&FadeInOutLoop_animationpara::out_frame>("out_frame"),
    field<&FadeInOutLoop_animationpara::sout_frame>("sout_frame"),
    field<&FadeInOutLoop_animationpara::loopcnt>("loopcnt"),
    field<&FadeInOutLoop_animationpara::delonloopcnt>("delonloopcnt"),
    field<&FadeInOutLoop_animationpara::in_alpha>("in_alpha", 1.0f),
    field<&FadeInOutLoop_animationpara::out_alpha>("out_alpha"),
};

constexpr Field kGradualFields[] = {
    field<&GraduallyDispLoop_animationpara::pre_frame>("pre_frame"),
    field<&GraduallyDispLoop_animationpara::in_frame>("in_frame"),
    field<&GraduallyDispLoop_animationpara::sin_frame>("sin_frame"),
    field<&GraduallyDispLoop_animationpara::out_frame>("out_frame"),
    field<&GraduallyDispLoop_animationpara::sout_frame>("sout_frame"),
    field<&GraduallyDispLoop_animationpara::loopcnt>("loopcnt"),
    field<&GraduallyDispLoop_animationpara::delonloopcnt>("delonloopcnt"),
    field<&GraduallyDispLoop_animationpara::in_alpha>("in_alpha", 1.0f),
    field<&GraduallyDispLoop_animationpara::out_alpha>("out_alpha"),
    field<&GraduallyDispLoop_animationpara::gmode_show>("gmode_show"),
    field<&GraduallyDispLoop_animationpara::gmode_hide>("gmode_hide"),
};

constexpr Field kSequenceFields[] = {
    field<&SeqLoop_animationpara::pre_frame>("pre_frame"),
    field<&SeqLoop_animationpara::in_frame>("in_frame"),
    field<&SeqLoop_animationpara::sin_frame>("sin_frame"),
    field<&SeqLoop_animationpara::out_frame>("out_frame"),
    field<&SeqLoop_animationpara::sout_frame>("sout_frame"),
    field<&SeqLoop_animationpara::loopcnt>("loopcnt"),
    field<&SeqLoop_animationpara::delonloopcnt>("delonloopcnt"),
    field<&SeqLoop_animationpara::seq_show>("seq_show"),
    field<&SeqLoop_animationpara::seq_hide>("seq_hide"),
};

template <class T>
void begin(Para &para)
{
	para.record = T();
}

template <class T>
constexpr RecordKind image(std::string_view name, AnimationType type, std::span<const Field> fields,
    Coordinates coordinates = Coordinates::none, std::size_t texture_limit = ANIMATION_MAX_TEXTURES)
{
	return {name, type, begin<T>, coordinates, texture_limit, fields};
}

template <class T>
constexpr RecordKind video(std::string_view name, AnimationType type)
{
	return {name, type, begin<T>, Coordinates::video, 0, {}};
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

void fill_textures(TextureArray &textures, const TextureSet &set, std::span<const GLuint> handles)
{
	textures = {};
	textures.mode = set.mode;
	for (std::size_t i = 0; i < set.files.size(); ++i)
		set.files[i].copy(textures.textures_name[i], sizeof textures.textures_name[i] - 1);
	std::ranges::copy(set.data, textures.texdata);
	std::ranges::transform(
	    set.handles, textures.texids, [handles](std::size_t index) { return handles[index]; });
	textures.tex_num =
	    static_cast<std::uint32_t>(set.files.size() + set.data.size() + set.handles.size());
	textures.mask_index = set.mask_index;
	textures.alpha_index = set.alpha_index;
	std::ranges::copy(set.constant_color, textures.constant_color);
}

} // namespace

const std::span<const RecordKind> kRecordKinds = kKinds;

void add(Description &description, const Description &more)
{
	if (more.viewport)
		description.viewport = more.viewport;
	if (more.positions)
		description.positions = more.positions;
	if (more.coordinates)
		description.coordinates = more.coordinates;
	if (more.textures)
		description.textures = more.textures;
	for (const Setting &setting : more.settings) {
		const auto before = std::ranges::find(description.settings, setting.field, &Setting::field);
		if (before != description.settings.end())
			*before = setting;
		else
			description.settings.push_back(setting);
	}
}

UpdateMode rebuilt_by(const Description &description)
{
	unsigned int mode = UPD_MISC;
	if (description.viewport || description.positions || description.coordinates)
		mode |= UPD_COORDS;
	if (description.textures)
		mode |= UPD_TEXS;
	return static_cast<UpdateMode>(mode);
}

bool leaves_by_itself(const Description &description)
{
	return std::ranges::any_of(description.settings, [](const Setting &setting) {
		return setting.field->name == "delonloopcnt" && std::get<bool>(setting.value);
	});
}

Record::Record(const RecordKind &record_kind) : kind(&record_kind), para(std::make_unique<Para>())
{
	clear(*this);
}

Record::~Record() = default;

void clear(Record &record)
{
	const auto *video = std::get_if<VideoGST_animationpara>(&record.para->record);
	BufferInfoGST *const frame = video ? video->bufinfo : nullptr;
	record.kind->begin(*record.para);
	for (const Field &field : record.kind->fields)
		field.store(*record.para, field.initial);
	if (auto *kept = std::get_if<VideoGST_animationpara>(&record.para->record))
		kept->bufinfo = frame;
}

void fill(Record &record, const Description &description, std::span<const GLuint> handles)
{
	if (description.positions)
		record.positions = *description.positions;
	if (description.coordinates)
		record.coordinates = *description.coordinates;
	for (const Setting &setting : description.settings)
		setting.field->store(*record.para, setting.value);
	const auto fill_common = [&](auto &para) {
		InPosition2D &strip = para.in_position2d;
		strip.coordnum = static_cast<std::uint32_t>(record.positions.size() / 2);
		strip.position2d = record.positions.data();
		strip.vp_id = description.viewport.value_or(strip.vp_id);
		if constexpr (requires { para.texcoord; })
			para.texcoord = record.coordinates.data();
		else
			strip.texPosition2d = record.coordinates.empty() ? nullptr : record.coordinates.data();
		if constexpr (requires { para.textures; }) {
			if (description.textures)
				fill_textures(para.textures, *description.textures, handles);
		}
	};
	std::visit(fill_common, record.para->record);
}

void *address_of(Record &record)
{
	return std::visit([](auto &para) -> void * { return &para; }, record.para->record);
}

UpdateMode &update_of(Record &record)
{
	return std::visit([](auto &para) -> UpdateMode & { return para.update; }, record.para->record);
}
