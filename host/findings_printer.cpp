#include <host/findings_printer.h>

#include <cstdio>

#include <nlohmann/json.hpp>

namespace
{

using Json = nlohmann::json;

std::string text_of(const Json &message, const char *key)
{
	const Json value = message.value(key, Json());
	return value.is_string() ? value.get<std::string>() : value.dump();
}

void print_finding(const Json &message)
{
	const bool has_object = message.contains("object") && message["object"].is_number();
	fprintf(stderr, "check [%s] frame %s, %s%s%s: %s; %s\n", text_of(message, "cause").c_str(),
	    text_of(message, "frame").c_str(), text_of(message, "call").c_str(),
	    has_object ? ", object " : "", has_object ? text_of(message, "object").c_str() : "",
	    text_of(message, "wrong").c_str(), text_of(message, "do").c_str());
}

void print_count(const Json &message)
{
	fprintf(stderr, "check: %s times: [%s] %s\n", text_of(message, "count").c_str(),
	    text_of(message, "cause").c_str(), text_of(message, "wrong").c_str());
}

} // namespace

ProbeListener findings_printer(unsigned long *count)
{
	const auto on_line = [count](ProbeLink &, const std::string &line) {
		const Json message = Json::parse(line, nullptr, false);
		if (!message.is_object())
			return;
		const std::string type = text_of(message, "type");
		if (type == "finding") {
			++*count;
			print_finding(message);
		} else if (type == "finding-count") {
			print_count(message);
		}
	};
	return {.on_line = on_line, .wants_findings = true};
}
