#include <render/object_draw.h>
#include <render/render.h>

#include <cstdio>

namespace
{

constexpr GLuint kNoProgram = 0xFFFFFFFF;

/* The program last made current here: a run of objects on one program switches once. */
GLuint program_last = kNoProgram;

struct Attribute {
	GLuint location;
	GLint components;
	const float *values;
};

void use_program(GLuint program)
{
	if (program == program_last)
		return;
	program_last = program;
	glUseProgram(program);
}

/* Draws with one of the window's programs. */
template <class Program, int count>
void draw(const Program &gl, const RenderObj &renderobj, const Attribute (&attributes)[count])
{
	use_program(gl.program);
	glUniformMatrix4fv(static_cast<GLint>(gl.mvp_uniform), 1, GL_FALSE, &renderobj.mvp[0][0]);
	for (const Attribute &attribute : attributes)
		glEnableVertexAttribArray(attribute.location);
	for (const Attribute &attribute : attributes) {
		glVertexAttribPointer(
		    attribute.location, attribute.components, GL_FLOAT, GL_FALSE, 0, attribute.values);
	}
	glDrawArrays(GL_TRIANGLE_STRIP, 0, static_cast<GLsizei>(renderobj.coordnum));
	for (const Attribute &attribute : attributes)
		glDisableVertexAttribArray(attribute.location);
}

void draw_general(const struct window &window, const RenderObj &renderobj)
{
	const auto &gl = window.gl;
	use_program(gl.program);
	glUniform1i(
	    static_cast<GLint>(gl.blendingmode_uniform), static_cast<GLint>(renderobj.blendingmode));
	glUniform1i(
	    static_cast<GLint>(gl.rendermode_uniform), static_cast<GLint>(renderobj.rendermode));
	glUniform4fv(static_cast<GLint>(gl.constant_color), 1, renderobj.constant_color);
	glUniform1f(static_cast<GLint>(gl.alpha0_uniform), renderobj.prealpha0);
	glUniform1f(static_cast<GLint>(gl.alpha1_uniform), renderobj.prealpha1);
	draw(gl, renderobj,
	    {
	        {gl.pos, 3, renderobj.position3d},
	        {gl.tex0, 2, renderobj.texturecoord0},
	        {gl.tex1, 2, renderobj.texturecoord1},
	        {gl.tex2, 2, renderobj.texturecoord2},
	    });
}

void draw_external_image(const struct window &window, const RenderObj &renderobj)
{
	const auto &gl = window.gl_video1;
	draw(gl, renderobj,
	    {
	        {gl.pos, 3, renderobj.position3d},
	        {gl.tex0, 2, renderobj.texturecoord0},
	    });
}

void draw_nv12(const struct window &window, const RenderObj &renderobj)
{
	const auto &gl = window.gl_video2;
	draw(gl, renderobj,
	    {
	        {gl.pos, 3, renderobj.position3d},
	        {gl.tex0, 2, renderobj.texturecoord0},
	        {gl.tex1, 2, renderobj.texturecoord1},
	    });
}

} // namespace

void forget_program_last()
{
	program_last = kNoProgram;
}

void Render3DFrame(void *data, RenderObj *renderobj)
{
	const auto &window = *static_cast<struct window *>(data);
	int width = window.geometry.width;
	int height = window.geometry.height;
	if (renderobj->vp_id == VP_LCD0)
		glViewport(0, 0, width, height);
	else if (renderobj->vp_id == VP_LCD1)
		glViewport(width, 0, width, height);

	switch (renderobj->rendermode) {
	case RENDER_TEXTURED:
	case RENDER_CONSTANT:
		draw_general(window, *renderobj);
		break;
	case RENDER_VIDEO_DMAFD:
		draw_external_image(window, *renderobj);
		break;
	case RENDER_VIDEO_RAW_NV12:
		draw_nv12(window, *renderobj);
		break;
	default:
		puts("FATAL ERROR");
		glDrawArrays(GL_TRIANGLE_STRIP, 0, static_cast<GLsizei>(renderobj->coordnum));
		puts("FATAL ERROR");
		break;
	}
}
