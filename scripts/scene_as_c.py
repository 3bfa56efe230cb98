"""A scene's objects as the records in C that an application fills, and the calls that it makes."""

import json
import re

TYPES = {  # the record, its start values, and what a scene leaves out but they do not
    "ANI_BACKGROUND": ("Backgroud_animationpara", "BACKGROUND", {"in_frame": 0}),
    "ANI_FLASH": ("Flash_animationpara", "FLASH", {"off_frame": 0}),
    "ANI_TEX_CUT": ("TexCut_animationpara", "TEX_CUT", {"off_frame": 0}),
    "ANI_FADEINOUT": ("FadeInOutLoop_animationpara", "FADE", {}),
    "ANI_CHARACTERISTIC": ("FadeInOutLoop_animationpara", "FADE", {}),
    "ANI_GRADUALLYDISP": ("GraduallyDispLoop_animationpara", "GRADUAL", {}),
    "ANI_SEQUENCE": ("SeqLoop_animationpara", "SEQUENCE", {}),
    "ANI_VIDEO_RAW": ("VideoRAW_animationpara", "VIDEO", {}),
}
SHAPE = ("name", "type", "rectangle", "viewport", "textures", "texPosition2d")


def numbers(values) -> str:
    return ", ".join(f"{value:g}" + ("f" if value != int(value) else "") for value in values)


def corners(rectangle) -> list:
    x, y, width, height = rectangle
    return [x, y + height, x + width, y + height, x, y, x + width, y]


def texture_lines(name: str, textures: dict) -> list:
    lines = []
    for i, file in enumerate(textures.get("files", [])):
        lines.append(f'strcpy({name}.textures.textures_name[{i}], "{file.removeprefix("../")}");')
    if lines:
        lines.append(f"{name}.textures.tex_num = {len(lines)};")
    for index in ("mask_index", "alpha_index"):
        if index in textures:
            lines.append(f"{name}.textures.{index} = {textures[index]};")
    for i, value in enumerate(textures.get("constant_color", [])):
        if value != 1:
            lines.append(f"{name}.textures.constant_color[{i}] = {numbers([value])};")
    return lines


def record_lines(thing: dict) -> list:
    name, kind = thing["name"], thing["type"]
    record, start, others = TYPES[kind]
    position = f"{name}.in_position2d"
    lines = [f"static float {name}_corners[] = {{{numbers(corners(thing['rectangle']))}}};"]
    if "texPosition2d" in thing:
        parts = [value for pair in thing["texPosition2d"] for value in pair]
        lines.append(f"static float {name}_part[] = {{{numbers(parts)}}};")
    if kind.startswith("ANI_VIDEO"):
        lines.append(f"static float {name}_upright[] = {{0, 1, 1, 1, 0, 0, 1, 0}};")
    lines += [f"{record} {name} = ANIMATION_{start}_INIT;", f"{position}.coordnum = 4;",
              f"{position}.position2d = {name}_corners;"]
    if "texPosition2d" in thing:
        lines.append(f"{position}.texPosition2d = {name}_part;")
    if kind.startswith("ANI_VIDEO"):
        lines.append(f"{name}.texcoord = {name}_upright;")
    lines += texture_lines(name, thing.get("textures", {}))
    for field, value in ({**others, **{k: v for k, v in thing.items() if k not in SHAPE}}).items():
        text = value if isinstance(value, str) else str(value).lower() if isinstance(value, bool) \
            else numbers([value])
        lines.append(f"{name}.{field} = {text};")
    return [*lines, f"unsigned int {name}_id = CreateAnimationObj({kind}, &{name});", ""]


def update_lines(entry: dict) -> list:
    name = entry["update"]
    parts = [value for pair in entry["set"]["texPosition2d"] for value in pair]
    return [f"/* in frame {entry['frame']} */",
            f"memcpy({name}_part, (float[]){{{numbers(parts)}}}, sizeof {name}_part);",
            f"{name}.update = UPD_COORDS;", f"UpdateAnimationObj({name}_id, &{name});", ""]


def raw_lines(entry: dict) -> list:
    name, width, height = entry["raw"], entry["width"], entry["height"]
    return [f"/* from frame {entry['frame']} on, with each NV12 image that the application has */",
            f"BufferInfoRAW image = {{{width}, {height}, {width}, pixels, {{0, 0}}}};",
            f"{name}.bufinfo = &image;", f"{name}.update = UPD_TEXS;",
            f"UpdateAnimationObj({name}_id, &{name});", ""]


def scene_as_c(text: str) -> str:
    scene = json.loads(re.sub(r"^\s*//.*$", "", text, flags=re.MULTILINE))
    lines = [line for thing in scene["objects"] for line in record_lines(thing)]
    for entry in scene["timeline"]:
        if "update" in entry:
            lines += update_lines(entry)
        elif "raw" in entry:
            lines += raw_lines(entry)
    return "\n".join(lines).rstrip() + "\n"


def compilable(name: str, code: str) -> str:
    """A function of it, for the compiler alone."""
    return f"void show_{name}(void *pixels)\n{{\n(void)pixels;\n{code}}}\n"


COMPILER_START = "#include <string.h>\n#include <animation/animation.h>\n"
