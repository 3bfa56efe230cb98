#include <maths/maths.h>

#include <cmath>
#include <cstring>

namespace
{

/* Single-precision pi; degrees to radians. */
constexpr float kPi = 3.1415927f;
constexpr float kRadiansPerDegree = 0.017453292f;

float rounded_sin(float radians)
{
	return static_cast<float>(std::sin(static_cast<double>(radians)));
}

float rounded_cos(float radians)
{
	return static_cast<float>(std::cos(static_cast<double>(radians)));
}

/* Returns the squared length of a vector that it leaves at its length, else the reciprocal of the
 * length. afVout may be afVin. */
float Normalize(float *afVout, const float *afVin)
{
	float fLen = afVin[0] * afVin[0] + afVin[1] * afVin[1] + afVin[2] * afVin[2];
	if (fLen <= 0.0f) {
		afVout[0] = afVout[1] = afVout[2] = 0.0f;
		return fLen;
	}
	if (fLen == 1.0f) {
		std::memmove(afVout, afVin, 3 * sizeof(float));
		return fLen;
	}
	fLen = 1.0f / static_cast<float>(std::sqrt(static_cast<double>(fLen)));
	for (int i = 0; i < 3; i++)
		afVout[i] = afVin[i] * fLen;
	return fLen;
}

float Dot(const float *afVin1, const float *afVin2)
{
	return afVin1[0] * afVin2[0] + afVin1[1] * afVin2[1] + afVin1[2] * afVin2[2];
}

/* afVout must be neither input. */
float Cross(float *afVout, const float *afVin1, const float *afVin2)
{
	afVout[0] = afVin1[1] * afVin2[2] - afVin1[2] * afVin2[1];
	afVout[1] = afVin1[2] * afVin2[0] - afVin1[0] * afVin2[2];
	afVout[2] = afVin1[0] * afVin2[1] - afVin1[1] * afVin2[0];
	return 0.0f;
}

float determinant3(const float row0[3], const float row1[3], const float row2[3])
{
	return row0[0] * (row1[1] * row2[2] - row1[2] * row2[1]) -
	       row0[1] * (row1[0] * row2[2] - row1[2] * row2[0]) +
	       row0[2] * (row1[0] * row2[1] - row1[1] * row2[0]);
}

float cofactor(float m[4][4], int row, int column)
{
	float minor[3][3];
	for (int r = 0; r < 3; r++)
		for (int c = 0; c < 3; c++)
			minor[r][c] = m[r < row ? r : r + 1][c < column ? c : c + 1];
	float determinant = determinant3(minor[0], minor[1], minor[2]);
	return (row + column) % 2 ? -determinant : determinant;
}

} // namespace

void myIdentity(float pMatrix[4][4])
{
	for (int r = 0; r < 4; r++)
		for (int c = 0; c < 4; c++)
			pMatrix[r][c] = r == c ? 1.0f : 0.0f;
}

void myMultMatrix(float psRes[4][4], float psSrcA[4][4], float psSrcB[4][4])
{
	/* Read whole before the first write, so that the result may take its place. */
	float b[4][4];
	std::memcpy(b, psSrcB, sizeof(b));
	for (int r = 0; r < 4; r++)
		for (int c = 0; c < 4; c++)
			psRes[r][c] = psSrcA[r][0] * b[0][c] + psSrcA[r][1] * b[1][c] + psSrcA[r][2] * b[2][c] +
			              psSrcA[r][3] * b[3][c];
}

void myLookAt(float pMatrix[4][4], const float *eye, const float *center, const float *up)
{
	float forward[3] = {center[0] - eye[0], center[1] - eye[1], center[2] - eye[2]};
	float side[3];
	float upward[3];
	Normalize(forward, forward);
	Cross(side, forward, up);
	Normalize(side, side);
	Cross(upward, side, forward);

	myIdentity(pMatrix);
	for (int r = 0; r < 3; r++) {
		pMatrix[r][0] = side[r];
		pMatrix[r][1] = upward[r];
		pMatrix[r][2] = -forward[r];
	}
	pMatrix[3][0] = -Dot(side, eye);
	pMatrix[3][1] = -Dot(upward, eye);
	pMatrix[3][2] = Dot(forward, eye);
}

void myPersp(float pMatrix[4][4], float fovy, float aspect, float zNear, float zFar)
{
	float radians = (fovy / 2) * kPi / 180.0f;
	float deltaZ = zFar - zNear;
	float sine = rounded_sin(radians);
	if (deltaZ == 0.0f || sine == 0.0f || aspect == 0.0f)
		return;
	float cotangent = rounded_cos(radians) / sine;

	float m[4][4];
	myIdentity(m);
	m[0][0] = cotangent / aspect;
	m[1][1] = cotangent;
	m[2][2] = -(zFar + zNear) / deltaZ;
	m[2][3] = -1.0f;
	m[3][2] = zNear * -2.0f * zFar / deltaZ;
	m[3][3] = 0.0f;
	myMultMatrix(pMatrix, m, pMatrix);
}

void myFrustum(
    float pMatrix[4][4], float left, float right, float bottom, float top, float zNear, float zFar)
{
	float deltaX = right - left;
	float deltaY = top - bottom;
	float deltaZ = zFar - zNear;
	if (deltaX == 0.0f || deltaY == 0.0f || deltaZ == 0.0f)
		return;

	float m[4][4];
	myIdentity(m);
	m[0][0] = 2.0f * zNear / deltaX;
	m[1][1] = 2.0f * zNear / deltaY;
	m[2][0] = (right + left) / deltaX;
	m[2][1] = (top + bottom) / deltaY;
	m[2][2] = -(zNear + zFar) / deltaZ;
	m[2][3] = -1.0f;
	m[3][2] = zNear * -2.0f * zFar / deltaZ;
	m[3][3] = 0.0f;
	myMultMatrix(pMatrix, m, pMatrix);
}

void myScale(float pMatrix[4][4], float fX, float fY, float fZ)
{
	for (int c = 0; c < 4; c++) {
		pMatrix[0][c] *= fX;
		pMatrix[1][c] *= fY;
		pMatrix[2][c] *= fZ;
	}
}

void myTranslate(float pMatrix[4][4], float fX, float fY, float fZ)
{
	for (int c = 0; c < 4; c++)
		pMatrix[3][c] += pMatrix[0][c] * fX + pMatrix[1][c] * fY + pMatrix[2][c] * fZ;
}

void myRotate(float pMatrix[4][4], float fX, float fY, float fZ, float fAngle)
{
	float axis[3] = {fX, fY, fZ};
	Normalize(axis, axis);
	float a = axis[0];
	float b = axis[1];
	float c = axis[2];

	float radians = fAngle * kRadiansPerDegree;
	float s = rounded_sin(radians);
	float k = rounded_cos(radians);
	float ab = a * b * (1 - k);
	float bc = b * c * (1 - k);
	float ca = c * a * (1 - k);

	float m[4][4];
	myIdentity(m);
	m[0][0] = (1 - a * a) * k + a * a;
	m[0][1] = c * s + ab;
	m[0][2] = ca - b * s;
	m[1][0] = ab - c * s;
	m[1][1] = (1 - b * b) * k + b * b;
	m[1][2] = a * s + bc;
	m[2][0] = b * s + ca;
	m[2][1] = bc - a * s;
	m[2][2] = (1 - c * c) * k + c * c;
	myMultMatrix(pMatrix, m, pMatrix);
}

void myInvertTransposeMatrix(float pDstMatrix[3][3], float pSrcMatrix[4][4])
{
	float determinant = 0.0f;
	for (int r = 0; r < 4; r++)
		determinant += pSrcMatrix[r][0] * cofactor(pSrcMatrix, r, 0);
	if (determinant == 0.0f)
		return;

	float inverse = 1.0f / determinant;
	for (int r = 0; r < 3; r++)
		for (int c = 0; c < 3; c++)
			pDstMatrix[r][c] = cofactor(pSrcMatrix, r, c) * inverse;
}
