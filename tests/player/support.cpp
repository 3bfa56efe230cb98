#include <gst/gst.h>

#include <base/lock.h>

#include "support.h"

void set_up_player()
{
	static const bool done = [] {
		create_list_mutex();
		gst_init(nullptr, nullptr);
		return true;
	}();
	(void)done;
}

int count(const std::string &text, const std::string &part)
{
	int found = 0;
	for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size())
		++found;
	return found;
}

bool in_order(const std::string &text, std::initializer_list<const char *> parts)
{
	size_t at = 0;
	for (const char *part : parts) {
		at = text.find(part, at);
		if (at == std::string::npos)
			return false;
		at += std::string(part).size();
	}
	return true;
}
