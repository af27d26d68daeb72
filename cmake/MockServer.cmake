# The public key of the mock server: a token like a hosted backend's, with a meaningless signature. The program and
# tavrik-mock-server are both compiled with it.
string(CONCAT TAVRIK_MOCK_SERVER_ANON_KEY
    "eyJhbGciOiJIUzI1NiIsInR5cCI6IkpXVCJ9."
    "eyJpc3MiOiJ0YXZyaWstYmFja2VuZCIsInJlZiI6ImxvY2FsLXN0YW5kLWluIiwicm9sZSI6ImFub24iLCJpYXQiOjE3MzU2ODk2MDAsImV4cCI6MjA1MTIyMjQwMH0."
    "TWCDBAhTlZ5sredWQRbBuSGw5RChGVLzqCte0G_GtQ8")

# The key that the program is built with, and that tavrik-mock-server therefore asks for.
set(TAVRIK_MOCK_SERVER_ASKS_FOR "${TAVRIK_BACKEND_ANON_KEY}")
if(NOT TAVRIK_MOCK_SERVER_ASKS_FOR)
    set(TAVRIK_MOCK_SERVER_ASKS_FOR "${TAVRIK_MOCK_SERVER_ANON_KEY}")
endif()
