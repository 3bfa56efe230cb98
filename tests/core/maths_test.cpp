#include <maths/maths.h>

#include <cstring>

#include <gtest/gtest.h>

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
	const char *name;
	const Matrix &start;
	void (*act)(Rows m);
	float expected[16];
};

const Case kCases[] = {
    {"product", kStart, multiply,
        {0x1.466668p+2f, -0x1.ef5c2cp+1f, 0x1.733338p+0f, 0x1.81eb86p+2f, 0x1.e5c29p+2f,
            0x1.547ad8p+0f, 0x1.90a3d4p+1f, 0x1.6cccccp+1f, -0x1.0f5c1cp+0f, -0x1.7851eap+0f,
            0x1.b70a3ep+1f, 0x1.ea3d7p+1f, 0x1.27ae16p+2f, 0x1.b851e8p+2f, 0x1.1e147ap+3f,
            0x1.2e147cp+2f}},
    {"a perspective", kStart, [](Rows m) { myPersp(m, 60.5f, 1.7f, 0.3f, 77); },
        {0x1.0f20f8p+1f, 0x1.4faeeap+0f, 0x1.69814ap-1f, 0x1.0237c8p-1f, -0x1.e2de16p+0f,
            0x1.960c34p+2f, 0x1.f8d0e6p+1f, 0x1.5f2d26p-3f, -0x1.39e68p+2f, 0x1.fe329ap+0f,
            -0x1.681a2cp+1f, -0x1.2759ecp+2f, -0x1.7214f8p-2f, -0x1.158fb8p-1f, -0x1.06243p+0f,
            -0x1.24fb44p+0f}},
    {"the objects' perspective", kUnit, [](Rows m) { myPersp(m, 90, 2, 0.1f, 1000); },
        {0.5f, 0, 0, 0, 0, 1, 0, 0, 0, 0, -0x1.000d1ap+0f, -1, 0, 0, -0x1.99a416p-3f, 0}},
    {"a lopsided volume", kStart,
        [](Rows m) { myFrustum(m, -0.3f, 4.1f, -1.2f, 3.3f, 1.1f, 3.7f); },
        {0x1.0cccccp+0f, 0x1.4cccccp-1f, 0x1.666666p-2f, 0.25f, -0x1.13579cp-1f, 0x1.cf1358p+0f,
            0x1.1fdb96p+0f, 0x1.907f6ep-5f, -0x1.06df7ap+2f, 0x1.059f6cp+2f, -0x1.47c13p+1f,
            -0x1.6eab58p+2f, -0x1.e0e2dep+0f, -0x1.68aa26p+1f, -0x1.54a0b2p+2f, -0x1.7cb39ap+2f}},
    {"a scale", kStart, [](Rows m) { myScale(m, 1.1f, 2.3f, -0.7f); },
        {0x1.27ae14p+1f, 0x1.6e147ap+0f, 0x1.8a3d7p-1f, 0x1.19999ap-1f, -0x1.43d70ap+1f,
            0x1.1051ecp+3f, 0x1.528f5cp+2f, 0x1.d70a3ep-3f, -0x1.ae147cp-2f, -0x1.428f5cp-1f,
            -0x1.30a3d8p+0f, -0x1.547aep+0f, 0x1.133334p+2f, -0x1.733334p+1f, 0x1.19999ap+0f,
            0x1.59999ap+1f}},
    {"a way", kStart, [](Rows m) { myTranslate(m, 0.2f, 0.5f, 4.3f); },
        {0x1.0cccccp+1f, 0x1.4cccccp+0f, 0x1.666666p-1f, 0.5f, -0x1.19999ap+0f, 0x1.d9999ap+1f,
            0x1.266666p+1f, 0x1.99999ap-4f, 0x1.333334p-1f, 0x1.ccccccp-1f, 0x1.b33334p+0f,
            0x1.e66666p+0f, 6.75f, 0x1.8a3d74p+1f, 0x1.366668p+3f, 0x1.60a3d6p+3f}},
    {"a turn", kStart, [](Rows m) { myRotate(m, 0.3f, -1.7f, 2.9f, -188); },
        {-0x1.f2604p+0f, -0x1.e89268p-1f, -0x1.e035d8p-3f, -0x1.fd691p-5f, -0x1.a7ddcep-2f,
            -0x1.6a5eap+1f, -0x1.5a539p+1f, -0x1.c42236p+0f, 0x1.6bba32p+0f, -0x1.59007ap+1f,
            -0x1.233fbcp+0f, 0x1.ba797ap-1f, 0x1.133334p+2f, -0x1.733334p+1f, 0x1.19999ap+0f,
            0x1.59999ap+1f}},
    {"a turn about an axis of length 1", kUnit, [](Rows m) { myRotate(m, 0, -0.6f, 0.8f, -75); },
        {0x1.0907dep-2f, -0x1.8ba4aap-1f, -0x1.28bb8p-1f, 0, 0x1.8ba4aap-1f, 0x1.0d213cp-1f,
            -0x1.6c4e24p-2f, 0, 0x1.28bb8p-1f, -0x1.6c4e24p-2f, 0x1.7762b4p-1f, 0, 0, 0, 0, 1}},
    {"a turn about nothing", kUnit, [](Rows m) { myRotate(m, 0, 0, 0, 60); },
        {0x1.fffffep-2f, 0, 0, 0, 0, 0x1.fffffep-2f, 0, 0, 0, 0, 0x1.fffffep-2f, 0, 0, 0, 0, 1}},
    {"the last call acts first", kUnit,
        [](Rows m) { myScale(m, 2, 3, 4), myTranslate(m, 1, 1, 1); },
        {2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 2, 3, 4, 1}},
    {"a look", kStart, [](Rows m) { look(m, 3.1f, -0.5f, -4.7f); },
        {0x1.835c28p-1f, -0x1.350c5p-1f, 0x1.0191e2p-2f, 0, -0x1.22850ep-3f, 0x1.cac058p-3f,
            0x1.edacf6p-1f, 0, -0x1.46d5c8p-1f, -0x1.87c3eap-1f, 0x1.576d52p-4f, 0, -0x1.5aa83p+2f,
            -0x1.9cf3aep+0f, 0x1.8af178p-4f, 1}},
    {"a look at the own place", kStart, [](Rows m) { look(m, 2.5f, -2.8f, -4.9f); },
        {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}},
};

TEST(Maths, ChangesAMatrix)
{
	for (const Case &c : kCases) {
		SCOPED_TRACE(c.name);
		Matrix seen = c.start;
		c.act(seen.m);
		expect_equal(seen, c.expected);
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
