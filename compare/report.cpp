#include <compare/report.h>

#include <algorithm>
#include <fstream>
#include <memory>

#include <glib.h>

#include <compare/report_page.h>

namespace
{

struct Free {
	void operator()(char *text) const
	{
		g_free(text);
	}
};

std::string escaped(const std::string &text)
{
	const std::unique_ptr<char, Free> markup(
	    g_markup_escape_text(text.c_str(), static_cast<gssize>(text.size())));
	return markup.get();
}

std::string name_of(const Result &result)
{
	return result.scene + (result.frame == 0 ? "" : ", frame " + std::to_string(result.frame));
}

long count(const Report &report, Verdict verdict)
{
	return std::ranges::count(report.results, verdict, &Result::verdict);
}

std::string class_line(const Report &report)
{
	if (report.kept_on.empty() || report.kept_on == report.drawn_on)
		return "<p>Kept and drawn on: " + escaped(report.drawn_on) + "</p>\n";
	return "<p>Kept on: " + escaped(report.kept_on) +
	       "</p>\n<p>Drawn on: " + escaped(report.drawn_on) +
	       "</p>\n<p class=\"warning\">Another class of machine rounds otherwise: steps of 1 to 3 "
	       "are to be expected.</p>\n";
}

std::string figure(const char *part, const char *caption, const Image &image)
{
	const std::vector<std::uint8_t> png = png_of(image);
	const std::unique_ptr<char, Free> text(g_base64_encode(png.data(), png.size()));
	return std::string("<figure class=\"") + part + "\"><img alt=\"" + caption +
	       "\" src=\"data:image/png;base64," + text.get() + "\"><figcaption>" + caption +
	       "</figcaption></figure>\n";
}

std::string section_of(const Result &result)
{
	std::string section = "<section class=\"side\">\n<h2>" + escaped(name_of(result)) +
	                      "</h2>\n<p>" + escaped(result.text) + "</p>\n";
	if (result.verdict == Verdict::different)
		section +=
		    "<nav><button value=\"side\" aria-pressed=\"true\">Side by side</button>"
		    "<button value=\"flicker\">Flicker</button>"
		    "<button value=\"slider\">Slider</button>"
		    "<input type=\"range\" aria-label=\"Slider\"></nav>\n<div class=\"pictures\">\n" +
		    figure("kept", "Kept", result.kept) + figure("now", "Now", result.now) +
		    figure("difference", "Difference", picture_of_difference(result.kept, result.now)) +
		    "</div>\n";
	return section + "</section>\n";
}

/* What is wrong first, then the most pixels. */
std::vector<const Result *> worst_first(const Report &report)
{
	std::vector<const Result *> results;
	for (const Result &result : report.results) {
		if (result.verdict != Verdict::same)
			results.push_back(&result);
	}
	std::ranges::stable_sort(results, [](const Result *a, const Result *b) {
		if (a->verdict != b->verdict)
			return a->verdict == Verdict::wrong;
		return a->difference.pixels > b->difference.pixels;
	});
	return results;
}

} // namespace

std::string line_of(const Result &result)
{
	return name_of(result) + ": " + result.text;
}

std::string summary_of(const Report &report)
{
	return std::to_string(report.results.size()) +
	       " pictures: " + std::to_string(count(report, Verdict::same)) + " same, " +
	       std::to_string(count(report, Verdict::different)) + " different, " +
	       std::to_string(count(report, Verdict::wrong)) + " wrong";
}

bool write_page(const Report &report, const std::string &path)
{
	std::ofstream page(path);
	page << kPageStart << "<h1>" << escaped(summary_of(report)) << "</h1>\n" << class_line(report);
	for (const Result *result : worst_first(report))
		page << section_of(*result);
	page << "<table>\n";
	for (const Result &result : report.results) {
		if (result.verdict == Verdict::same)
			page << "<tr><td>" << escaped(name_of(result)) << "<td>same\n";
	}
	page << "</table>\n" << kPageEnd;
	return static_cast<bool>(page.flush());
}

bool write_junit(const Report &report, const std::string &path)
{
	std::ofstream file(path);
	file << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites>\n"
	     << "<testsuite name=\"animation-compare\" tests=\"" << report.results.size()
	     << "\" failures=\"" << count(report, Verdict::different) << "\" errors=\""
	     << count(report, Verdict::wrong) << "\">\n";
	for (const Result &result : report.results) {
		file << "<testcase classname=\"" << escaped(result.scene) << "\" name=\"frame "
		     << result.frame << '"';
		if (result.verdict == Verdict::same)
			file << "/>\n";
		else
			file << "><" << (result.verdict == Verdict::different ? "failure" : "error")
			     << " message=\"" << escaped(result.text) << "\"/></testcase>\n";
	}
	file << "</testsuite>\n</testsuites>\n";
	return static_cast<bool>(file.flush());
}
