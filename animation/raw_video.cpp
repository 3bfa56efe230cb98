#include <animation/video_steps.h>

unsigned int CreateVideoRAWAnimation(VideoRAW_animationpara *para)
{
	return create_video(ANI_VIDEO_RAW, para, UPD_COORDS, RENDER_VIDEO_RAW_NV12);
}

void UpdateVideoRAWAnimation(unsigned int id, VideoRAW_animationpara *para)
{
	replace_record(id, para);
}

namespace
{

constexpr uint32_t kPlanes = 2;

/* NV12: a plane of luma, and behind it one of half the size with pairs of chroma. */
void upload_planes(RenderObj &renderobj, const BufferInfoRAW &bufinfo)
{
	auto width = static_cast<int>(bufinfo.width);
	auto height = static_cast<int>(bufinfo.height);
	auto *luma = static_cast<const unsigned char *>(bufinfo.praw);
	const unsigned char *chroma = luma + std::size_t{bufinfo.stride} * bufinfo.height;

	delete_textures(renderobj);
	glGenTextures(kPlanes, renderobj.textures);
	glBindTexture(GL_TEXTURE_2D, renderobj.textures[0]);
	load_texture(renderobj.textures[0], width, height, GL_LUMINANCE, luma);
	glBindTexture(GL_TEXTURE_2D, renderobj.textures[1]);
	load_texture(renderobj.textures[1], width / 2, height / 2, GL_LUMINANCE_ALPHA, chroma);
}

void take_picture(RenderObj &renderobj, const VideoRAW_animationpara &para)
{
	if (!para.bufinfo)
		return;
	if (para.bufinfo->praw)
		upload_planes(renderobj, *para.bufinfo);
	else
		std::copy_n(para.bufinfo->texids, kPlanes, renderobj.textures);
	renderobj.tex_num = kPlanes;
}

} // namespace

void GenVideoRAWAnimationFrame(unsigned int id, void *)
{
	AnimationObj *obj = find_in_frame(id);
	if (!obj)
		return;
	auto &para = para_of<VideoRAW_animationpara>(*obj);
	RenderObj &renderobj = *obj->renderobj;

	if (has_status(*obj, ST_PENDINGDESTROY)) {
		mark_finished(*obj);
		return;
	}
	set_up_video(*obj, para, UPD_COORDS, 2, take_picture);

	glEnable(GL_TEXTURE_2D);
	bind_texture(0, renderobj.textures[0]);
	bind_texture(1, renderobj.textures[1]);
	set_status(*obj, ST_SHOW);
	obj->curframeno = obj->curframeno + 1;
}
