import Tavrik

// The language that is spoken to others.
SegmentedPicker {
    name: "Language"
    options: [
        {
            value: "English",
            label: "English"
        },
        {
            value: "German",
            label: "German"
        },
        {
            value: "Italian",
            label: "Italian"
        },
        {
            value: "French",
            label: "French"
        }
    ]
}
