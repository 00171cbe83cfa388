"""Writes a configuration for OBS: no first-run wizard, our dock docked, one scene with one VLC source."""

import json
import os
import subprocess
import uuid
from pathlib import Path

SCENE = "Main"
SOURCE = "Queue"
MODULE = "obs-reelhouse"


def write_config(home: Path, dock_layout: Path | None, websocket_port: int, password: str = "",
                 preview: bool = True, side: bool = False, theme: str = "") -> None:
    """Prepares a home folder for OBS. With a password, its WebSocket server asks for it. dock_layout is the program
    that prints a dock layout; without it OBS keeps its own, with our dock closed. side puts the dock at the right.

    Turn the preview off to send clicks and keys: before each frame of a preview, OBS reads what has come over its X
    connection, which it shares with Qt, and drops it. So one event in some thousands is lost."""
    config = home / ".config/obs-studio"
    config.mkdir(parents=True, exist_ok=True)
    print_layout = [dock_layout, "side" if side else "below"]
    dock_state = dock_layout and subprocess.run(print_layout, check=True, capture_output=True, text=True,
                                                env={**os.environ, "QT_QPA_PLATFORM": "offscreen"}).stdout.strip()
    settings = """[General]
FirstRun=true
EnableAutoUpdates=false
ConfirmOnExit=false
Pre19Defaults=false
Pre21Defaults=false
Pre23Defaults=false
Pre24.1Defaults=false
InfoIncrement=99999

[Basic]
Profile=Reelhouse
ProfileDir=Reelhouse
SceneCollection=Reelhouse
SceneCollectionFile=Reelhouse
"""
    settings += f"\n[BasicWindow]\nPreviewEnabled={str(preview).lower()}\n"
    if dock_state:
        settings += f"DockState={dock_state}\n"
    if theme:
        settings += f"\n[Appearance]\nTheme={theme}\n"
    for name in ("global.ini", "user.ini"):
        (config / name).write_text(settings)
    profile = config / "basic/profiles/Reelhouse"
    profile.mkdir(parents=True, exist_ok=True)
    (profile / "basic.ini").write_text("[General]\nName=Reelhouse\n[Video]\nBaseCX=1280\nBaseCY=720\n"
                                       "OutputCX=1280\nOutputCY=720\nFPSCommon=30\n")
    (config / "basic/scenes").mkdir(parents=True, exist_ok=True)
    write_json(config / "plugin_config/obs-websocket/config.json",
               {"first_load": False, "server_enabled": True, "server_port": websocket_port,
                "auth_required": bool(password), "server_password": password, "alerts_enabled": False})


def write_json(path: Path, data) -> None:
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(json.dumps(data, indent=1))


def vlc_source(paths, name=SOURCE, **settings):
    """Returns a VLC source in the form of a scene collection file."""
    return {"id": "vlc_source", "versioned_id": "vlc_source", "name": name, "uuid": str(uuid.uuid4()),
            "settings": {"playlist": [{"value": str(path)} for path in paths], "loop": False, **settings}}


def scene(name, *sources):
    """Returns a scene that shows the sources, each fitted into a canvas of 1280 by 720."""
    items = [{"name": source["name"], "source_uuid": source["uuid"], "id": number, "visible": True,
              "bounds_type": 2, "bounds": {"x": 1280.0, "y": 720.0}, "scale": {"x": 1.0, "y": 1.0}}
             for number, source in enumerate(sources, 1)]
    return {"id": "scene", "versioned_id": "scene", "name": name, "uuid": str(uuid.uuid4()),
            "settings": {"items": items, "id_counter": len(items), "custom_size": False}}


def write_collection(home: Path, scenes, sources, name="Reelhouse") -> None:
    write_json(home / f".config/obs-studio/basic/scenes/{name}.json",
               {"name": name, "current_scene": scenes[0]["name"], "current_program_scene": scenes[0]["name"],
                "scene_order": [{"name": one["name"]} for one in scenes], "sources": [*sources, *scenes]})


def remember_source(home: Path, source) -> None:
    """Writes the dock's settings so that it opens with this source chosen."""
    write_json(home / f".config/obs-studio/plugin_config/{MODULE}/settings.json",
               {"remainingTime": False, "sourceUuid": source["uuid"]})
