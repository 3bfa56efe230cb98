/* JSON as it is written: no tree, one string that grows. */
#pragma once

#include <charconv>
#include <cmath>
#include <concepts>
#include <cstdio>
#include <string>
#include <string_view>

class JsonText
{
public:
	/* '{' or '['. */
	void open(char bracket)
	{
		separate();
		text_ += bracket;
	}
	/* '}' or ']'. */
	void close(char bracket)
	{
		text_ += bracket;
	}
	void key(std::string_view name)
	{
		value(name);
		text_ += ':';
	}
	void value(std::string_view text)
	{
		separate();
		text_ += '"';
		for (const char c : text)
			add_escaped(c);
		text_ += '"';
	}
	void value(const char *text)
	{
		value(std::string_view(text));
	}
	void value(bool truth)
	{
		raw(truth ? "true" : "false");
	}
	template <std::integral Number>
	void value(Number number)
	{
		char digits[24];
		raw({digits, std::to_chars(digits, digits + sizeof digits, number).ptr});
	}
	/* JSON knows neither infinity nor what is no number. */
	template <std::floating_point Number>
	void value(Number number)
	{
		char digits[64];
		if (std::isfinite(number))
			raw({digits, std::to_chars(digits, digits + sizeof digits, number).ptr});
		else
			null();
	}
	/* Times: a thousandth of a millisecond is enough. */
	void milliseconds(double number)
	{
		char digits[400];
		const auto result =
		    std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed, 3);
		raw({digits, result.ptr});
	}
	void null()
	{
		raw("null");
	}
	/* A value that is JSON already. */
	void raw(std::string_view json)
	{
		separate();
		text_ += json;
	}
	template <class Value>
	void member(std::string_view name, Value v)
	{
		key(name);
		value(v);
	}
	const std::string &text() const
	{
		return text_;
	}

private:
	void separate()
	{
		if (!text_.empty() && std::string_view("{[:").find(text_.back()) == std::string_view::npos)
			text_ += ',';
	}
	void add_escaped(char c)
	{
		if (c == '"' || c == '\\') {
			text_ += '\\';
			text_ += c;
		} else if (static_cast<unsigned char>(c) < 0x20) {
			char code[8];
			std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c));
			text_ += code;
		} else {
			text_ += c;
		}
	}

	std::string text_;
};
