#include <maths/maths.h>

#include <cstring>

#include <gtest/gtest.h>

namespace
{

struct Matrix {
	float m[4][4] = {{1}, {0, 1}, {0, 0, 1}, {0, 0, 0, 1}};
};

void expect_equal(const Matrix &seen, const Matrix &expected)
{
	for (int i = 0; i < 16; i++)
		EXPECT_NEAR(seen.m[i / 4][i % 4], expected.m[i / 4][i % 4], 1e-6f) << "value " << i;
}

const Matrix kScrambled = {{{2, 1, 0, 0.5f}, {-1, 3, 2, 0}, {0.5f, 0, 1, 1}, {4, -2, 1, 2}}};

TEST(Maths, MultipliesInPlaceOfTheSecondSource)
{
	Matrix a = kScrambled;
	Matrix b = {{{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, {13, 14, 15, 16}}};
	myMultMatrix(b.m, a.m, b.m);
	expect_equal(
	    b, {{{13.5f, 17, 20.5f, 24}, {32, 36, 40, 44}, {22.5f, 25, 27.5f, 30}, {29, 34, 39, 44}}});
}

TEST(Maths, ProjectsAndLeavesTheMatrixWithoutAVolume)
{
	Matrix projection;
	myPersp(projection.m, 90.0f, 2.0f, 0.1f, 1000.0f);
	expect_equal(
	    projection, {{{0.5f, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, -1.0002f, -1}, {0, 0, -0.20002f, 0}}});
	Matrix lopsided;
	myFrustum(lopsided.m, 0.0f, 4.0f, -1.0f, 3.0f, 1.0f, 3.0f);
	expect_equal(lopsided, {{{0.5f, 0, 0, 0}, {0, 0.5f, 0, 0}, {1, 0.5f, -2, -1}, {0, 0, -3, 0}}});

	Matrix kept = kScrambled;
	myPersp(kept.m, 90.0f, 2.0f, 1.0f, 1.0f);
	myPersp(kept.m, 0.0f, 2.0f, 1.0f, 2.0f);
	myPersp(kept.m, 90.0f, 0.0f, 1.0f, 2.0f);
	myFrustum(kept.m, 1, 1, 0, 1, 1, 2);
	myFrustum(kept.m, 0, 1, 1, 1, 1, 2);
	expect_equal(kept, kScrambled);
}

TEST(Maths, ActsInReverseOrderOfTheCalls)
{
	Matrix both;
	myScale(both.m, 2, 3, 4);
	myTranslate(both.m, 1, 1, 1);
	expect_equal(both, {{{2, 0, 0, 0}, {0, 3, 0, 0}, {0, 0, 4, 0}, {2, 3, 4, 1}}});
	Matrix cycled; /* the axes change places */
	myTranslate(cycled.m, 10, 0, 0);
	myRotate(cycled.m, 1, 1, 1, 120);
	expect_equal(cycled, {{{0, 1, 0, 0}, {0, 0, 1, 0}, {1, 0, 0, 0}, {10, 0, 0, 1}}});
	Matrix shrunk;
	myRotate(shrunk.m, 0, 0, 0, 60);
	expect_equal(shrunk, {{{0.5f, 0, 0, 0}, {0, 0.5f, 0, 0}, {0, 0, 0.5f, 0}, {0, 0, 0, 1}}});
}

TEST(Maths, LooksFromTheEye)
{
	Matrix view = kScrambled; /* replaced, not multiplied */
	const float eye[3] = {3, 0, 1}, center[3] = {3, 0, -4}, up[3] = {0, 2, 0};
	myLookAt(view.m, eye, center, up);
	expect_equal(view, {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {-3, 0, -1, 1}}});
	myLookAt(view.m, eye, eye, up);
	expect_equal(view, {{{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 1}}});
}

TEST(Maths, InvertsAndTransposesTheWholeMatrix)
{
	float normals[3][3];
	Matrix source = kScrambled; /* the last row and column count */
	myInvertTransposeMatrix(normals, source.m);
	const float cofactors[9] = {-1, -5, 7, -2, 0.25f, -6.5f, 7.5f, -3.5f, 9};
	for (int i = 0; i < 9; i++)
		EXPECT_NEAR(normals[i / 3][i % 3], cofactors[i] / -10.25f, 1e-6f) << i;

	std::memset(source.m[1], 0, sizeof(source.m[1]));
	normals[0][0] = 42;
	myInvertTransposeMatrix(normals, source.m);
	EXPECT_EQ(normals[0][0], 42);
}

} // namespace
