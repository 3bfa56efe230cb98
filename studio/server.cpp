#include <algorithm>
#include <array>
#include <string_view>

extern "C" {
#include <studio-page.h>
}

#include <studio/studio_state.h>

namespace
{

constexpr char kPageFolder[] = "/animation/studio/"; /* in the program's resources */

struct ContentType {
	std::string_view ending;
	const char *type;
};
constexpr std::array<ContentType, 6> kContentTypes = {{
    {".html", "text/html; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".json", "application/json"},
    {".png", "image/png"},
    {".mp4", "video/mp4"},
}};

const char *content_type(std::string_view name)
{
	const auto *found = std::ranges::find_if(
	    kContentTypes, [name](const ContentType &known) { return name.ends_with(known.ending); });
	return found == kContentTypes.end() ? "application/octet-stream" : found->type;
}

/* ---- Who may ask ---- */

/* A page of elsewhere reaches us by a name of its own that leads to this machine, or names itself
 * as the origin. The port may be another one: that of a tunnel. */
bool names_this_machine(std::string_view host)
{
	host = host.substr(0, host.find(':'));
	return host == "127.0.0.1" || host == "localhost";
}

bool comes_from_here(SoupServerMessage *message)
{
	SoupMessageHeaders *headers = soup_server_message_get_request_headers(message);
	const char *host = soup_message_headers_get_one(headers, "Host");
	if (!host || !names_this_machine(host))
		return false;
	const char *origin = soup_message_headers_get_one(headers, "Origin");
	return !origin || origin == std::string("http://") + host;
}

/* In a time that tells nothing of the token. */
bool is_token(const Studio &studio, std::string_view text)
{
	if (text.size() != studio.token.size())
		return false;
	int difference = 0;
	for (std::size_t i = 0; i < text.size(); ++i)
		difference |= text[i] ^ studio.token[i];
	return difference == 0;
}

/* What is asked for below the token: "/TOKEN/NAME". False if it is not ours to answer. */
bool take_name(const Studio &studio, std::string_view path, std::string *name)
{
	const std::size_t end = path.find('/', 1);
	if (path.empty() || end == path.npos || !is_token(studio, path.substr(1, end - 1)))
		return false;
	*name = path.substr(end + 1);
	return true;
}

/* ---- Answers ---- */

void refuse(SoupServerMessage *message, guint status)
{
	soup_server_message_set_status(message, status, nullptr);
	const char *text = status == SOUP_STATUS_FORBIDDEN
	                       ? "The studio opens only under the address that was printed.\n"
	                       : "There is nothing of this name.\n";
	soup_server_message_set_response(
	    message, "text/plain", SOUP_MEMORY_STATIC, text, std::char_traits<char>::length(text));
}

void answer(SoupServerMessage *message, const std::string &name, GBytes *content)
{
	SoupMessageHeaders *headers = soup_server_message_get_response_headers(message);
	soup_message_headers_replace(headers, "Content-Type", content_type(name));
	soup_message_headers_replace(headers, "Cache-Control", "no-store");
	soup_message_headers_replace(headers, "Referrer-Policy", "no-referrer");
	soup_message_headers_replace(headers, "X-Content-Type-Options", "nosniff");
	soup_message_headers_replace(headers, "Content-Security-Policy",
	    "default-src 'none'; script-src 'self'; style-src 'self' 'unsafe-inline'; "
	    "img-src 'self' blob: data:; connect-src 'self'; frame-ancestors 'none'; "
	    "base-uri 'none'; form-action 'none'");
	soup_message_body_append_bytes(soup_server_message_get_response_body(message), content);
	soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
}

/* Of the page, or of what is offered for download. NULL if there is none. */
GBytes *find_file(const Studio &studio, const std::string &name)
{
	const auto offered = std::ranges::find(studio.files, name, &OfferedFile::name);
	if (offered != studio.files.end())
		return g_bytes_new(offered->content.data(), offered->content.size());
	return g_resources_lookup_data((kPageFolder + (name.empty() ? "index.html" : name)).c_str(),
	    G_RESOURCE_LOOKUP_FLAGS_NONE, nullptr);
}

void handle_request(
    SoupServer *, SoupServerMessage *message, const char *path, GHashTable *, gpointer data)
{
	const auto &studio = *static_cast<Studio *>(data);
	std::string name;
	take_name(studio, path, &name);
	const bool is_get = soup_server_message_get_method(message) == SOUP_METHOD_GET;
	GBytes *content = is_get ? find_file(studio, name) : nullptr;
	if (!content) {
		refuse(message, SOUP_STATUS_NOT_FOUND);
		return;
	}
	answer(message, name.empty() ? "index.html" : name, content);
	g_bytes_unref(content);
}

/* Before anything else. */
void check_request(
    SoupServer *, SoupServerMessage *message, const char *path, GHashTable *, gpointer data)
{
	std::string name;
	if (!comes_from_here(message) || !take_name(*static_cast<Studio *>(data), path, &name))
		refuse(message, SOUP_STATUS_FORBIDDEN);
}

void handle_websocket(SoupServer *, SoupServerMessage *, const char *,
    SoupWebsocketConnection *connection, gpointer data)
{
	add_browser(*static_cast<Studio *>(data), connection);
}

} // namespace

bool start_server(Studio &studio, std::uint16_t port, std::string *error)
{
	studio_page_get_resource(); /* registers the page, which the linker would leave out */
	studio.server = soup_server_new("server-header", "animation-studio", nullptr);
	/* Pictures are compressed already. */
	soup_server_remove_websocket_extension(studio.server, SOUP_TYPE_WEBSOCKET_EXTENSION_DEFLATE);
	/* Of the handlers only those of the longest path are asked. */
	const std::string socket = "/" + studio.token + "/socket";
	for (const char *path : {static_cast<const char *>(nullptr), socket.c_str()})
		soup_server_add_early_handler(studio.server, path, check_request, &studio, nullptr);
	soup_server_add_handler(studio.server, nullptr, handle_request, &studio, nullptr);
	soup_server_add_websocket_handler(
	    studio.server, socket.c_str(), nullptr, nullptr, handle_websocket, &studio, nullptr);

	GError *failure = nullptr;
	if (!soup_server_listen_local(studio.server, port, SOUP_SERVER_LISTEN_IPV4_ONLY, &failure)) {
		*error = "cannot open the studio on port " + std::to_string(port) + ": " + failure->message;
		g_error_free(failure);
		return false;
	}
	GSList *uris = soup_server_get_uris(studio.server);
	const int got = g_uri_get_port(static_cast<GUri *>(uris->data));
	g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
	studio.address = "http://127.0.0.1:" + std::to_string(got) + "/" + studio.token + "/";
	return true;
}
