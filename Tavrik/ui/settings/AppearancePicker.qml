import Tavrik

// Light, dark, or whatever the desktop is.
SegmentedPicker {
    name: "Appearance"
    options: [
        {
            value: "system",
            label: "System",
            symbol: "circle.lefthalf.filled"
        },
        {
            value: "light",
            label: "Light",
            symbol: "sun.max"
        },
        {
            value: "dark",
            label: "Dark",
            symbol: "moon"
        }
    ]
}
