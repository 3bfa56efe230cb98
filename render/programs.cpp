#include <render/render.h>

#include <cstdio>
#include <cstdlib>

#include <render/fatal.h>
#include <render/object_draw.h>

namespace
{

/* One uniform per decision: an animation chooses a blending mode, not a shader. */
const char vert_shader_text[] = R"(
uniform mat4 mvp;
attribute vec4 position;
attribute vec2 texcoord0;
attribute vec2 texcoord1;
attribute vec2 texcoord2;
varying vec2 texcoord_out0;
varying vec2 texcoord_out1;
varying vec2 texcoord_out2;
void main()
{
	gl_Position = mvp * position;
	texcoord_out0 = texcoord0;
	texcoord_out1 = texcoord1;
	texcoord_out2 = texcoord2;
}
)";

const char frag_shader_text[] = R"(
precision mediump float;
precision mediump int;
uniform mediump sampler2D tex_unit0;
uniform mediump sampler2D tex_unit1;
uniform mediump sampler2D tex_unit2;
uniform int blending_mode;
uniform int render_mode;
uniform vec4 constant_color;
uniform mediump float alpha0;
uniform mediump float alpha1;
varying vec2 texcoord_out0;
varying vec2 texcoord_out1;
varying vec2 texcoord_out2;
void main()
{
	int t_bl_mode = blending_mode;
	if (blending_mode >= 0x10)
		t_bl_mode = blending_mode - 0x10;

	vec4 color0;
	if (render_mode == 0)
		color0 = texture2D(tex_unit0, texcoord_out0);
	else
		color0 = constant_color;

	if (t_bl_mode == 0) {
		gl_FragColor = vec4(color0.rgb, alpha0 * color0.a);
	} else if (t_bl_mode == 1) {
		vec4 color1 = texture2D(tex_unit1, texcoord_out1);
		color0 = vec4(color0.rgb, alpha0 * color0.a);
		color1 = vec4(color1.rgb, alpha1 * color1.a);
		if (color1.a > 0.9)
			gl_FragColor = color1;
		else
			gl_FragColor = color0;
	} else if (t_bl_mode == 2) {
		vec4 color1 = texture2D(tex_unit1, texcoord_out1);
		gl_FragColor = mix(color0, color1, alpha1);
	} else if (t_bl_mode == 4) {
		vec4 color1 = texture2D(tex_unit1, texcoord_out1);
		if (color1.a > 0.0)
			color1.a = 1.0;
		gl_FragColor = vec4(color0.rgb, alpha0 * color0.a * (1.0 - alpha1 * color1.a));
	} else if (t_bl_mode == 8) {
		vec4 color1 = texture2D(tex_unit1, texcoord_out1);
		gl_FragColor = vec4(color0.rgb, alpha0 * color0.a * alpha1 * color1.a);
	}

	if (blending_mode >= 0x10) {
		vec4 color2 = texture2D(tex_unit2, texcoord_out2);
		gl_FragColor = vec4(gl_FragColor.rgb, gl_FragColor.a * color2.a);
	}
}
)";

const char vert_shader_video1_text[] = R"(
precision mediump int;
precision mediump float;
uniform mat4 mvp;
attribute vec4 position;
attribute vec2 texcoord0;
varying vec2 texcoord_out0;
void main()
{
	gl_Position = mvp * position;
	texcoord_out0 = texcoord0;
}
)";

/* The sampler converts to RGB. The directive has to stand on the first line. */
const char frag_shader_video1_text[] = R"(#extension GL_OES_EGL_image_external : require
precision mediump float;
precision mediump int;
uniform mediump samplerExternalOES tex_unit0;
varying vec2 texcoord_out0;
void main()
{
	gl_FragColor = texture2D(tex_unit0, texcoord_out0);
}
)";

const char vert_shader_video2_text[] = R"(
precision mediump int;
precision mediump float;
uniform mat4 mvp;
attribute vec4 position;
attribute vec2 texcoord0;
attribute vec2 texcoord1;
varying vec2 texcoord_out0;
varying vec2 texcoord_out1;
void main()
{
	gl_Position = mvp * position;
	texcoord_out0 = texcoord0;
	texcoord_out1 = texcoord1;
}
)";

const char frag_shader_video2_text[] = R"(
precision mediump float;
precision mediump int;
uniform mediump sampler2D tex_unit0;
uniform mediump sampler2D tex_unit1;
varying vec2 texcoord_out0;
varying vec2 texcoord_out1;
const mat3 yuv2rgb = mat3(
	1, 0, 1.2802,
	1, -0.214821, -0.380589,
	1, 2.127982, 0);
void main()
{
	vec3 yuv;
	yuv.x = 1.1643 * (texture2D(tex_unit0, texcoord_out0).r - (16.0 / 255.0));
	yuv.yz = texture2D(tex_unit1, texcoord_out1).ar - vec2(0.5,0.5);
	vec3 rgb = yuv * yuv2rgb;
	gl_FragColor = vec4(rgb.b, rgb.g, rgb.r, 1);
}
)";

/* More of a log than this tells nobody anything. */
constexpr GLsizei kMaxLog = 1000;

constexpr const char *kAttributes[] = {"position", "texcoord0", "texcoord1", "texcoord2"};
constexpr const char *kSamplers[] = {"tex_unit0", "tex_unit1", "tex_unit2"};

GLuint link_program(struct window *window, const char *vertex, const char *fragment)
{
	GLuint frag = create_shader(window, fragment, GL_FRAGMENT_SHADER);
	GLuint vert = create_shader(window, vertex, GL_VERTEX_SHADER);
	GLuint program = glCreateProgram();
	glAttachShader(program, frag);
	glAttachShader(program, vert);
	glLinkProgram(program);

	GLint status = 0;
	glGetProgramiv(program, GL_LINK_STATUS, &status);
	if (!status) {
		char log[kMaxLog] = "";
		GLsizei len = 0;
		glGetProgramInfoLog(program, kMaxLog, &len, log);
		fprintf(stderr, "Error: linking:\n%*s\n", len, log);
		exit(1);
	}
	glUseProgram(program);
	return program;
}

/* Locations 0 to count - 1 in the order of kAttributes; the second link puts them into effect. */
void bind_attributes(GLuint program, GLuint *const *locations, GLuint count)
{
	for (GLuint i = 0; i < count; i++) {
		*locations[i] = i;
		glBindAttribLocation(program, i, kAttributes[i]);
	}
	glLinkProgram(program);
}

GLuint uniform(GLuint program, const char *name)
{
	return static_cast<GLuint>(glGetUniformLocation(program, name));
}

void assign_samplers(GLuint program, GLuint *const *samplers, int count)
{
	for (int unit = 0; unit < count; unit++) {
		*samplers[unit] = uniform(program, kSamplers[unit]);
		glUniform1i(static_cast<GLint>(*samplers[unit]), unit);
	}
}

void enable_attributes(GLuint count)
{
	for (GLuint i = 0; i < count; i++)
		glEnableVertexAttribArray(i);
}

void init_general_program(struct window *window)
{
	auto &gl = window->gl;
	GLuint *const attributes[] = {&gl.pos, &gl.tex0, &gl.tex1, &gl.tex2};
	GLuint *const samplers[] = {&gl.sampler0, &gl.sampler1, &gl.sampler2};
	gl.program = link_program(window, vert_shader_text, frag_shader_text);
	bind_attributes(gl.program, attributes, 4);
	assign_samplers(gl.program, samplers, 3);
	gl.blendingmode_uniform = uniform(gl.program, "blending_mode");
	gl.rendermode_uniform = uniform(gl.program, "render_mode");
	gl.constant_color = uniform(gl.program, "constant_color");
	gl.alpha0_uniform = uniform(gl.program, "alpha0");
	gl.alpha1_uniform = uniform(gl.program, "alpha1");
	gl.mvp_uniform = uniform(gl.program, "mvp");
	enable_attributes(4);
}

void init_external_image_program(struct window *window)
{
	auto &gl = window->gl_video1;
	GLuint *const attributes[] = {&gl.pos, &gl.tex0};
	GLuint *const samplers[] = {&gl.sampler0};
	gl.program = link_program(window, vert_shader_video1_text, frag_shader_video1_text);
	bind_attributes(gl.program, attributes, 2);
	assign_samplers(gl.program, samplers, 1);
	gl.mvp_uniform = uniform(gl.program, "mvp");
	enable_attributes(2);
}

void init_nv12_program(struct window *window)
{
	auto &gl = window->gl_video2;
	GLuint *const attributes[] = {&gl.pos, &gl.tex0, &gl.tex1};
	GLuint *const samplers[] = {&gl.sampler0, &gl.sampler1};
	gl.program = link_program(window, vert_shader_video2_text, frag_shader_video2_text);
	bind_attributes(gl.program, attributes, 3);
	assign_samplers(gl.program, samplers, 2);
	gl.mvp_uniform = uniform(gl.program, "mvp");
	enable_attributes(3);
}

} // namespace

GLuint create_shader(struct window *, const char *source, GLenum shader_type)
{
	GLuint shader = glCreateShader(shader_type);
	REQUIRE(shader != 0);
	glShaderSource(shader, 1, &source, nullptr);
	glCompileShader(shader);

	GLint status = 0;
	glGetShaderiv(shader, GL_COMPILE_STATUS, &status);
	if (!status) {
		char log[kMaxLog] = "";
		GLsizei len = 0;
		glGetShaderInfoLog(shader, kMaxLog, &len, log);
		fprintf(stderr, "Error: compiling %s: %*s\n",
		    shader_type == GL_VERTEX_SHADER ? "vertex" : "fragment", len, log);
		exit(1);
	}
	return shader;
}

void init_gl(struct window *window)
{
	forget_program_last();
	init_general_program(window);
	init_external_image_program(window);
	init_nv12_program(window);

	glEnable(GL_TEXTURE_2D);
	glEnable(GL_TEXTURE_EXTERNAL_OES);
	glEnable(GL_BLEND);
	glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
}
