-- The seconds of speech that each user has had translated on the latest day, in UTC. Row-level security without a policy
-- closes the table to everybody but the service role.
create table public.speech (
    user_id uuid primary key references auth.users (id) on delete cascade,
    day date not null,
    seconds double precision not null
);
alter table public.speech enable row level security;
revoke all on public.speech from anon, authenticated;
grant select, insert, update on public.speech to service_role;

-- Counts what a user has spoken; false, with nothing counted, if that would exceed the limit of the day. One statement:
-- of two at the same time, the second waits for the row of the first and judges by its sum.
create function public.count_speech(speaker uuid, spoken double precision, daily_limit double precision)
returns boolean
language sql
set search_path = ''
as $$
    with counted as (
        insert into public.speech as earlier (user_id, day, seconds)
        select speaker, (now() at time zone 'utc')::date, spoken
        where spoken between 0 and daily_limit
        on conflict (user_id) do update
        set day = greatest(earlier.day, excluded.day),
            seconds = excluded.seconds + case when earlier.day < excluded.day then 0 else earlier.seconds end
        where excluded.seconds + case when earlier.day < excluded.day then 0 else earlier.seconds end <= daily_limit
        returning true
    )
    select exists (select from counted)
$$;

-- For the translate function only, as the service role: users who could call it themselves would need the right to change
-- the very row that limits them, and would name the limit.
revoke execute on function public.count_speech from public, anon, authenticated;
grant execute on function public.count_speech to service_role;
