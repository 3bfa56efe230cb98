/*
 * What a run came to, as one file of JSON that a machine can compare: docs/report.md. It is made of
 * the messages of the probe.
 */
#pragma once

#include <memory>
#include <string>

struct Report;
struct ReportDeleter {
	void operator()(Report *) const;
};
using ReportPtr = std::unique_ptr<Report, ReportDeleter>;

/* Creates the file under another name, which is removed unless the report is written. mode is
 * "host" or "offline". Null with the reason in *error. */
ReportPtr open_report(const std::string &path, const std::string &mode, const std::string &program,
    std::string *error);

/* The program starts now, and not when the file was opened. */
void report_start(Report &report);

/* Takes one message. A line that is no message changes nothing. */
void report_message(Report &report, const std::string &line);

/* The compositor has got a surface buffer. */
void report_commit(Report &report);

/* What the run has come to so far, as the text of the file. */
std::string report_text(const Report &report, int status);

/* Writes the file and gives it its name. status is the exit status of the program. False with the
 * reason in *error. */
bool write_report(Report &report, int status, std::string *error);
