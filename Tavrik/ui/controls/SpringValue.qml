import QtQuick

// A number that follows `target` like a damped spring, from wherever it is and however fast it moves.
FrameAnimation {
    id: spring

    required property real target
    // Seconds of one swing, were it not damped.
    property real response: 0.38
    // 1 for no overshooting at all.
    property real damping: 0.86
    property real value

    property real origin
    property real originSpeed
    property real speed: 0
    property bool ready: false

    // How far from rest a spring is after `time` seconds.
    function displacement(time: real): real {
        const frequency = 2 * Math.PI / response;
        const swing = frequency * Math.sqrt(1 - damping * damping);
        const drift = (originSpeed + damping * frequency * origin) / swing;
        return Math.exp(-damping * frequency * time) * (origin * Math.cos(swing * time) + drift * Math.sin(swing * time));
    }

    Component.onCompleted: {
        value = target;
        ready = true;
    }
    onTargetChanged: {
        if (!ready)
            return;
        origin = value - target;
        originSpeed = speed;
        restart();
    }
    onTriggered: {
        const resting = elapsedTime > 1.5 * response;
        const next = resting ? target : target + displacement(elapsedTime);
        speed = resting || frameTime === 0 ? 0 : (next - value) / frameTime;
        value = next;
        if (resting)
            stop();
    }
}
