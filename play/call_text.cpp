#include <play/call_text.h>

namespace
{

std::string id_of(const Stage &stage, std::size_t object)
{
	const unsigned int id = stage.ids[object];
	return id == ANIMATION_NO_OBJECT ? "-" : std::to_string(id);
}

std::string name_of(const Stage &stage, std::size_t object)
{
	return "  // " + stage.scene->objects[object].name;
}

std::string text_of(const Stage &stage, const Create &create)
{
	return "CreateAnimationObj(" + std::string(stage.scene->objects[create.object].kind->name) +
	       ") = " + id_of(stage, create.object) + name_of(stage, create.object);
}

std::string text_of(const Stage &stage, const Update &update)
{
	constexpr const char *kModes[] = {"UPD_MISC", "UPD_COORDS", "UPD_TEXS", "UPD_ALL"};
	return "UpdateAnimationObj(" + id_of(stage, update.object) + ", " + kModes[update.mode & 3] +
	       ")" + name_of(stage, update.object);
}

std::string text_of(const Stage &stage, const Remove &remove)
{
	return "RemoveAnimationObj(" + id_of(stage, remove.object) + ", " +
	       (remove.mode == DEL_ON_HIDE ? "DEL_ON_HIDE" : "DEL_IMMEDIATELY") + ")" +
	       name_of(stage, remove.object);
}

std::string text_of(const Stage &, const Play &play)
{
	return "StartGSTPlay(\"" + play.uri + "\")";
}

std::string text_of(const Stage &, const Control &control)
{
	return control.order == GST_PAUSE ? "GSTplayControl(GST_PAUSE)" : "GSTplayControl(GST_PLAY)";
}

std::string text_of(const Stage &, const Stop &)
{
	return "StopGSTPlay()";
}

std::string text_of(const Stage &stage, const RawFrame &raw)
{
	return "UpdateAnimationObj(" + id_of(stage, raw.object) + ", UPD_TEXS)" +
	       name_of(stage, raw.object);
}

} // namespace

std::vector<std::string> call_texts(const Stage &stage, std::size_t first_step)
{
	std::vector<std::string> texts;
	for (std::size_t i = first_step; i < stage.next_step; ++i)
		texts.push_back(std::visit([&stage](const auto &action) { return text_of(stage, action); },
		    stage.scene->steps[i].action));
	return texts;
}
