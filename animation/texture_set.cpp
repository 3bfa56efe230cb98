#include <animation/texture_set.h>

#include <algorithm>

namespace
{

/* RenderObj.textures_owner. A set that no frame has built belongs to whom the record's mode says.
 */
enum TexturesOwner : uint8_t { kAsModeSays = 0, kObject = 1, kCaller = 2 };

bool are_callers(const RenderObj &renderobj, const TextureArray &textures)
{
	if (renderobj.textures_owner == kAsModeSays)
		return textures.mode == TEX_IDS;
	return renderobj.textures_owner == kCaller;
}

void load_picture(GLuint texture, const TextureArray &textures, uint32_t i)
{
	/* A picture that cannot be loaded leaves its texture empty: the loader has reported it. */
	switch (textures.mode) {
	case TEX_BMP:
		load_texture_bmp(texture, textures.textures_name[i]);
		break;
	case TEX_PNG:
		load_texture_png(texture, textures.textures_name[i]);
		break;
	default:
		const TextureData &picture = textures.texdata[i];
		load_texture(texture, static_cast<int>(picture.width), static_cast<int>(picture.height),
		    static_cast<int>(picture.textureType), picture.va);
		break;
	}
}

} // namespace

void give_up_callers_textures(RenderObj &renderobj, const TextureArray &textures, uint32_t own)
{
	if (!are_callers(renderobj, textures))
		return;
	if (own)
		std::fill_n(renderobj.textures, callers_count(renderobj, own), 0);
	else
		renderobj.tex_num = 0;
}

uint32_t callers_count(const RenderObj &renderobj, uint32_t own)
{
	return renderobj.tex_num > own ? renderobj.tex_num - own : 0;
}

void resolve_textures(RenderObj &renderobj, const TextureArray &textures, uint32_t previous)
{
	if (previous && !are_callers(renderobj, textures))
		glDeleteTextures(static_cast<GLsizei>(previous), renderobj.textures);

	/* Binding a deleted name would bring it back to life: what the new set leaves is no name. */
	if (previous > textures.tex_num)
		std::fill(renderobj.textures + textures.tex_num, renderobj.textures + previous, 0);

	renderobj.textures_owner = textures.mode == TEX_IDS ? kCaller : kObject;
	if (textures.mode == TEX_IDS) {
		std::copy_n(textures.texids, textures.tex_num, renderobj.textures);
		return;
	}
	glGenTextures(static_cast<GLsizei>(textures.tex_num), renderobj.textures);
	for (uint32_t i = 0; i < textures.tex_num; i++) {
		glBindTexture(GL_TEXTURE_2D, renderobj.textures[i]);
		load_picture(renderobj.textures[i], textures, i);
	}
}

int count_pictures(RenderObj &renderobj, const TextureArray &textures)
{
	bool has_mask = textures.mask_index != ANIMATION_NO_TEXTURE;
	bool has_alpha = textures.alpha_index != ANIMATION_NO_TEXTURE;
	int count = static_cast<int>(textures.tex_num) - has_mask - has_alpha;
	if (has_mask && has_alpha && textures.mask_index == textures.alpha_index)
		count++; /* one texture in both roles */
	renderobj.rendermode = count >= 1 ? RENDER_TEXTURED : RENDER_CONSTANT;
	return count;
}

void set_constant_color(RenderObj &renderobj, const TextureArray &textures)
{
	std::copy_n(textures.constant_color, 4, renderobj.constant_color);
}

int rebuild_textures(RenderObj &renderobj, const TextureArray &textures)
{
	resolve_textures(renderobj, textures, renderobj.tex_num);
	renderobj.tex_num = textures.tex_num;
	int count = count_pictures(renderobj, textures);
	set_constant_color(renderobj, textures);
	return count;
}
