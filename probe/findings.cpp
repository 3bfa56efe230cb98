#include <probe/findings.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>

#include <probe/frames.h>
#include <probe/json_text.h>
#include <probe/wire.h>

namespace
{

struct Cause {
	std::string members; /* of its message, but for the type */
	unsigned long count = 0;
};

struct {
	std::mutex lock; /* guards the rest, and keeps the messages in order */
	std::map<std::string, Cause> causes;
} findings;

std::string members_of(const Finding &finding)
{
	JsonText json;
	json.open('{');
	json.member("frame", frame_number());
	json.member("cause", finding.cause);
	json.member("call", finding.call);
	json.key("object");
	if (finding.object == ANIMATION_NO_OBJECT)
		json.null();
	else
		json.value(finding.object);
	json.member("wrong", std::string_view(finding.wrong));
	json.member("do", finding.remedy);
	return json.text().substr(1);
}

void send(const char *type, const std::string &members)
{
	send_line(std::string("{\"type\":\"") + type + "\"," + members + '}', Importance::kMustArrive);
}

void tell_counts()
{
	const std::lock_guard hold(findings.lock);
	for (const auto &[name, cause] : findings.causes)
		if (cause.count > 1)
			send("finding-count", cause.members + ",\"count\":" + std::to_string(cause.count));
}

} // namespace

bool is_checking()
{
	static const bool wanted = getenv("ANIMATION_PROBE_CHECK") && std::atexit(tell_counts) == 0;
	return wanted;
}

void tell(const Finding &finding)
{
	const std::lock_guard hold(findings.lock);
	Cause &cause = findings.causes[finding.cause + ('\n' + finding.wrong)];
	if (cause.count++ > 0)
		return;
	cause.members = members_of(finding);
	send("finding", cause.members);
}

std::string words(const char *format, ...)
{
	va_list values;
	va_start(values, format);
	char *text = nullptr;
	const int length = vasprintf(&text, format, values);
	va_end(values);
	if (length < 0)
		return format;
	std::string result(text, static_cast<std::size_t>(length));
	std::free(text);
	return result;
}
