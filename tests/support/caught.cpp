#include "caught.h"

#include <algorithm>
#include <cstdio>

#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>

Caught::Caught(int stream)
    : stream(stream), original(dup(stream)), file(memfd_create("caught", MFD_CLOEXEC))
{
	fflush(nullptr);
	dup2(file, stream);
}

Caught::~Caught()
{
	fflush(nullptr);
	dup2(original, stream);
	const std::string said = text();
	if (testing::Test::HasFailure())
		fprintf(stderr, "the last caught on %d:\n%s", stream,
		    said.substr(said.size() - std::min<size_t>(said.size(), 4000)).c_str());
	close(original);
	close(file);
}

std::string Caught::text() const
{
	fflush(nullptr);
	std::string text(lseek(file, 0, SEEK_CUR), '\0');
	text.resize(pread(file, text.data(), text.size(), 0));
	return text;
}

bool Caught::has(const std::string &part) const
{
	return text().find(part) != std::string::npos;
}

bool Caught::waits_for(const std::string &part, double seconds) const
{
	return wait_until([&] { return has(part); }, seconds);
}

void Caught::clear()
{
	fflush(nullptr);
	EXPECT_EQ(ftruncate(file, 0), 0);
	lseek(file, 0, SEEK_SET);
}
