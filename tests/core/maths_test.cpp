#include <maths/maths.h>

#include <cstring>

#include <gtest/gtest.h>

#include <table.h>

/* Exact to the bit. The numbers were computed apart from the library, each operation exactly and
 * rounded once; a fused multiply-add gives others in every function that sums products. */

namespace
{

using Rows = float (*)[4];

struct Matrix {
	float m[4][4] = {{2.1f, 1.3f, 0.7f, 0.5f}, {-1.1f, 3.7f, 2.3f, 0.1f}, {0.6f, 0.9f, 1.7f, 1.9f},
	    {4.3f, -2.9f, 1.1f, 2.7f}};
};
const Matrix kStart;
const Matrix kUnit = {{{1}, {0, 1}, {0, 0, 1}, {0, 0, 0, 1}}};

void expect_equal(const Matrix &seen, const float *expected)
{
	for (int i = 0; i < 16; i++)
		EXPECT_EQ(seen.m[i / 4][i % 4], expected[i]) << "value " << i;
}

void multiply(Rows m)
{
	float other[4][4] = {{0.3f, -1.7f, 2.9f, 0.2f}, {1.9f, 0.7f, -0.6f, 1.1f},
	    {-2.3f, 0.8f, 1.3f, 0.9f}, {0.4f, 3.1f, -0.2f, 1.7f}};
	myMultMatrix(m, other, m); /* in place of the second source */
}

void look(Rows m, float x, float y, float z)
{
	const float eye[3] = {x, y, z}, center[3] = {2.5f, -2.8f, -4.9f}, up[3] = {-2.1f, -3.1f, -1.8f};
	myLookAt(m, eye, center, up); /* replaces the matrix */
}

struct Case {
	const Matrix &start;
	void (*act)(Rows m);
};

const Case kCases[] = {
    {kStart, multiply},
    {kStart, [](Rows m) { myPersp(m, 60.5f, 1.7f, 0.3f, 77); }},
    {kUnit, [](Rows m) { myPersp(m, 90, 2, 0.1f, 1000); }},
    {kStart, [](Rows m) { myFrustum(m, -0.3f, 4.1f, -1.2f, 3.3f, 1.1f, 3.7f); }},
    {kStart, [](Rows m) { myScale(m, 1.1f, 2.3f, -0.7f); }},
    {kStart, [](Rows m) { myTranslate(m, 0.2f, 0.5f, 4.3f); }},
    {kStart, [](Rows m) { myRotate(m, 0.3f, -1.7f, 2.9f, -188); }},
    {kUnit, [](Rows m) { myRotate(m, 0, -0.6f, 0.8f, -75); }},
    {kUnit, [](Rows m) { myRotate(m, 0, 0, 0, 60); }},
    {kUnit, [](Rows m) { myScale(m, 2, 3, 4), myTranslate(m, 1, 1, 1); }},
    {kStart, [](Rows m) { look(m, 3.1f, -0.5f, -4.7f); }},
    {kStart, [](Rows m) { look(m, 2.5f, -2.8f, -4.9f); }},
};

TEST(Maths, ChangesAMatrix)
{
	const auto expected = read_table("matrices.txt");
	ASSERT_EQ(expected.size(), std::size(kCases));
	for (std::size_t i = 0; i < expected.size(); i++) {
		SCOPED_TRACE(expected[i][0]);
		Matrix seen = kCases[i].start;
		kCases[i].act(seen.m);
		expect_equal(seen, numbers(expected[i][1]).data());
	}
}

TEST(Maths, LeavesTheMatrixWithoutAVolume)
{
	Matrix kept;
	myPersp(kept.m, 90, 2, 1, 1);
	myPersp(kept.m, 0, 2, 1, 2);
	myPersp(kept.m, 90, 0, 1, 2);
	myFrustum(kept.m, 1, 1, 0, 1, 1, 2);
	myFrustum(kept.m, 0, 1, 1, 1, 1, 2);
	myFrustum(kept.m, 0, 1, 0, 1, 2, 2);
	expect_equal(kept, kStart.m[0]);
}

TEST(Maths, InvertsAndTransposesTheWholeMatrix)
{
	const float expected[9] = {0x1.59616ap-2f, 0x1.dddf44p-2f, -0x1.326994p-1f, 0x1.abe938p-6f,
	    -0x1.0b08bep-2f, 0x1.cb15dap-1f, -0x1.f4c2bap-3f, 0x1.8b6c7cp-2f, -0x1.92f8a8p-1f};
	float normals[3][3];
	Matrix source; /* the last row and column count */
	myInvertTransposeMatrix(normals, source.m);
	for (int i = 0; i < 9; i++)
		EXPECT_EQ(normals[i / 3][i % 3], expected[i]) << "value " << i;

	std::memset(source.m[1], 0, sizeof(source.m[1]));
	normals[0][0] = 42;
	myInvertTransposeMatrix(normals, source.m);
	EXPECT_EQ(normals[0][0], 42);
}

} // namespace
