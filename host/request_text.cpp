#include <cctype>

#include <wayland-server-core.h>

#include <host/compositor_state.h>

namespace
{

std::string argument_text(char type, const wl_argument &argument, const wl_interface *made)
{
	switch (type) {
	case 'i':
		return std::to_string(argument.i);
	case 'u':
		return std::to_string(argument.u);
	case 'f':
		return std::to_string(wl_fixed_to_double(argument.f));
	case 's':
		return argument.s ? '"' + std::string(argument.s) + '"' : "nil";
	case 'o': /* a server's objects are resources */
		return argument.o ? wl_resource_get_class(reinterpret_cast<wl_resource *>(argument.o))
		                  : "nil";
	case 'n':
		return std::string("new ") + (made ? made->name : "object");
	case 'a':
		return "array";
	case 'h':
		return "fd";
	default:
		return "?";
	}
}

} // namespace

std::string request_text(const wl_protocol_logger_message &message)
{
	std::string text = wl_resource_get_class(message.resource);
	text += std::string(".") + message.message->name + '(';
	int index = 0;
	/* A signature holds a type per argument, with a version before all and '?' marks between. */
	for (const char *type = message.message->signature; *type; type++) {
		if (*type == '?' || isdigit(static_cast<unsigned char>(*type)))
			continue;
		if (index > 0)
			text += ", ";
		text += argument_text(*type, message.arguments[index], message.message->types[index]);
		index++;
	}
	return text + ')';
}
