/* What every record of an application has, whatever its type. */
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include <animation/animation.h>

/* A record's parts; textures is null for the videos. */
struct RecordFacts {
	const InPosition2D *strip;
	const TextureArray *textures;
	UpdateMode update;
	/* The highest alpha of a cycle; nothing where alphas are not the record's to say. */
	std::optional<float> top_alpha;
	const float *video_texcoord; /* null for the image types */
	std::uint32_t pre_frame;     /* 0 for the types without a start delay */
};

template <class Record>
RecordFacts image_facts(const Record &record, std::optional<float> top_alpha)
{
	std::uint32_t pre_frame = 0;
	if constexpr (requires { record.pre_frame; })
		pre_frame = record.pre_frame;
	return {&record.in_position2d, &record.textures, record.update, top_alpha, nullptr, pre_frame};
}

inline std::optional<RecordFacts> record_facts(AnimationType type, const void *para)
{
	switch (type) {
	case ANI_BACKGROUND:
		return image_facts(*static_cast<const Backgroud_animationpara *>(para), std::nullopt);
	case ANI_FLASH:
	case ANI_TEX_CUT: {
		const auto &flash = *static_cast<const Flash_animationpara *>(para);
		const float on = flash.on_frame ? flash.on_alpha : 0;
		const float off = flash.off_frame ? flash.off_alpha : 0;
		return image_facts(flash, std::max(on, off));
	}
	case ANI_FADEINOUT:
	case ANI_CHARACTERISTIC: {
		const auto &fade = *static_cast<const FadeInOutLoop_animationpara *>(para);
		return image_facts(fade, std::max(fade.in_alpha, fade.out_alpha));
	}
	case ANI_GRADUALLYDISP: {
		const auto &gradual = *static_cast<const GraduallyDispLoop_animationpara *>(para);
		return image_facts(gradual, std::max(gradual.in_alpha, gradual.out_alpha));
	}
	case ANI_SEQUENCE:
		return image_facts(*static_cast<const SeqLoop_animationpara *>(para), std::nullopt);
	case ANI_VIDEO_GST: {
		const auto &video = *static_cast<const VideoGST_animationpara *>(para);
		return RecordFacts{
		    &video.in_position2d, nullptr, video.update, std::nullopt, video.texcoord, 0};
	}
	case ANI_VIDEO_RAW: {
		const auto &video = *static_cast<const VideoRAW_animationpara *>(para);
		return RecordFacts{
		    &video.in_position2d, nullptr, video.update, std::nullopt, video.texcoord, 0};
	}
	default:
		return std::nullopt;
	}
}

inline bool is_video(AnimationType type)
{
	return type == ANI_VIDEO_GST || type == ANI_VIDEO_RAW;
}
