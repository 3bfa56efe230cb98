#include <maths/maths.h>

#include <cmath>
#include <cstring>

#include <gtest/gtest.h>

namespace
{

struct Matrix {
	float m[4][4];

	Matrix()
	{
		myIdentity(m);
	}
	explicit Matrix(const float (&values)[16])
	{
		std::memcpy(m, values, sizeof(m));
	}
};

void expect_equal(const Matrix &seen, const float (&expected)[16], float tolerance = 0.0f)
{
	for (int i = 0; i < 16; i++)
		EXPECT_NEAR(seen.m[i / 4][i % 4], expected[i], tolerance)
		    << "row " << i / 4 << ", " << i % 4;
}

/* A row vector, multiplied from the left. */
void expect_moved(const Matrix &by, const float (&point)[4], const float (&expected)[4])
{
	for (int c = 0; c < 4; c++) {
		float sum = 0;
		for (int r = 0; r < 4; r++)
			sum += point[r] * by.m[r][c];
		EXPECT_NEAR(sum, expected[c], 1e-6f) << "component " << c;
	}
}

constexpr float kScrambled[16] = {2, 1, 0, 0.5f, -1, 3, 2, 0, 0.5f, 0, 1, 1, 4, -2, 1, 2};

TEST(Maths, MultipliesInPlaceOfTheSecondSource)
{
	Matrix a(kScrambled);
	Matrix b({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16});
	const float product[16] = {
	    13.5f, 17, 20.5f, 24, 32, 36, 40, 44, 22.5f, 25, 27.5f, 30, 29, 34, 39, 44};
	Matrix separate;
	myMultMatrix(separate.m, a.m, b.m);
	expect_equal(separate, product);
	myMultMatrix(b.m, a.m, b.m);
	expect_equal(b, product);
}

TEST(Maths, ProjectsTheViewport)
{
	Matrix projection;
	myPersp(projection.m, 90.0f, 2.0f, 0.1f, 1000.0f);
	expect_equal(
	    projection, {0.5f, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1.00019991f, -1, 0, 0, -0.20002f, 0}, 1e-7f);

	/* The same volume by its edges, on something that is not the unit matrix. */
	Matrix by_angle(kScrambled);
	Matrix by_edges(kScrambled);
	myPersp(by_angle.m, 90.0f, 2.0f, 0.5f, 20.0f);
	myFrustum(by_edges.m, -1.0f, 1.0f, -0.5f, 0.5f, 0.5f, 20.0f);
	for (int i = 0; i < 16; i++)
		EXPECT_NEAR(by_angle.m[i / 4][i % 4], by_edges.m[i / 4][i % 4], 1e-6f);

	Matrix lopsided;
	myFrustum(lopsided.m, 0.0f, 4.0f, -1.0f, 3.0f, 1.0f, 3.0f);
	expect_equal(lopsided, {0.5f, 0, 0, 0, 0, 0.5f, 0, 0, 1, 0.5f, -2, -1, 0, 0, -3, 0});
}

TEST(Maths, LeavesTheMatrixWithoutAVolume)
{
	Matrix kept(kScrambled);
	myPersp(kept.m, 90.0f, 2.0f, 1.0f, 1.0f);
	myPersp(kept.m, 0.0f, 2.0f, 1.0f, 2.0f);
	myPersp(kept.m, 90.0f, 0.0f, 1.0f, 2.0f);
	myFrustum(kept.m, 1, 1, 0, 1, 1, 2);
	myFrustum(kept.m, 0, 1, 1, 1, 1, 2);
	myFrustum(kept.m, 0, 1, 0, 1, 2, 2);
	expect_equal(kept, kScrambled);
}

TEST(Maths, ActsInReverseOrderOfTheCalls)
{
	Matrix both;
	myScale(both.m, 2, 3, 4);
	myTranslate(both.m, 1, 1, 1);
	expect_equal(both, {2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 2, 3, 4, 1});

	for (float length : {1.0f, 5.0f}) {
		Matrix turned;
		myRotate(turned.m, 0, 0, length, 90);
		expect_moved(turned, {1, 0, 0, 1}, {0, 1, 0, 1});
	}
	Matrix cycled;
	myTranslate(cycled.m, 10, 0, 0);
	myRotate(cycled.m, 1, 1, 1, 120);
	expect_moved(cycled, {1, 2, 3, 1}, {13, 1, 2, 1});

	Matrix shrunk;
	myRotate(shrunk.m, 0, 0, 0, 60);
	expect_equal(shrunk, {0.5f, 0, 0, 0, 0, 0.5f, 0, 0, 0, 0, 0.5f, 0, 0, 0, 0, 1}, 1e-7f);
}

TEST(Maths, LooksFromTheEye)
{
	Matrix view(kScrambled); /* replaced, not multiplied */
	const float eye[3] = {3, 0, 1};
	const float center[3] = {3, 0, -4};
	const float up[3] = {0, 2, 0};
	myLookAt(view.m, eye, center, up);
	expect_equal(view, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -3, 0, -1, 1});

	const float aside[3] = {8, 0, 1};
	myLookAt(view.m, eye, aside, up);
	expect_moved(view, {8, 1, 1, 1}, {0, 1, -5, 1});

	myLookAt(view.m, eye, eye, up);
	expect_equal(view, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});
}

TEST(Maths, InvertsAndTransposesTheWholeMatrix)
{
	float normals[3][3];
	Matrix source(kScrambled); /* the last row and column count */
	myInvertTransposeMatrix(normals, source.m);
	constexpr float kDeterminant = -10.25f;
	const float cofactors[9] = {-1, -5, 7, -2, 0.25f, -6.5f, 7.5f, -3.5f, 9};
	for (int i = 0; i < 9; i++)
		EXPECT_NEAR(normals[i / 3][i % 3], cofactors[i] / kDeterminant, 1e-6f) << i;

	Matrix similar;
	myTranslate(similar.m, 5, 6, 7);
	myRotate(similar.m, 1, 2, 3, 40);
	myScale(similar.m, 2, 2, 2);
	myInvertTransposeMatrix(normals, similar.m);
	for (int i = 0; i < 9; i++)
		EXPECT_NEAR(normals[i / 3][i % 3], similar.m[i / 3][i % 3] / 4, 1e-6f) << i;

	std::memset(source.m[1], 0, sizeof(source.m[1]));
	float kept[3][3] = {{42}};
	myInvertTransposeMatrix(kept, source.m);
	EXPECT_EQ(kept[0][0], 42);
}

} // namespace
